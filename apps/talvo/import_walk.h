// From the paths of an import to the files that it takes.
#pragma once

#include "apps/talvo/file_identity.h"
#include "kernel/io/url.h"

#include <string>
#include <vector>

namespace talvo {

class Output;

/// What is to be stored as one asset.
struct ImportItem {
    Url url;
    std::string source;                ///< the path as the user would write it
    String name;                       ///< for people
    std::vector<std::string> folders;  ///< names of the folders that lead to it, from the one that was asked for
};

/// Walks folders in the order of their names. Hidden entries below a folder are passed over and counted; links to folders, fifos and the like
/// with a warning each; links to files are taken as files. The repository itself is never walked into.
class ImportWalk {
public:
    enum class FOLDERS { WALK, AS_ONE };
    /// @param repository root of the repository that the import goes to.
    ImportWalk(const Url& repository, FOLDERS folders, Output& output);

    /// Adds what `path` leads to. What can't be read is told and counted.
    void Add(const std::string& path);

    const std::vector<ImportItem>& GetItems() const { return _items; }
    Int GetFailureCount() const { return _failures; }
    /// Hidden entries and entries with a warning.
    Int GetPassedOverCount() const { return _passedOver; }

private:
    void WalkFolder(const Url& folder, const std::string& source, const std::string& name);
    Result<void> TryWalkFolder(const Url& folder, const std::string& source);
    Result<void> AddEntry(const Url& url, const std::string& source, IO_DETECT kind);
    void PassOver(const std::string& source, const char* reason);
    void Fail(const ErrorRef& error);
    Bool IsRepository(const Url& folder) const;

    const Opt<FileIdentity> _repository;
    const FOLDERS _folders;
    Output& _output;
    std::vector<ImportItem> _items;
    std::vector<std::string> _inFolders;  // that are being walked
    Int _failures = 0;
    Int _passedOver = 0;
};

}  // namespace talvo
