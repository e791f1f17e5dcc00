#include "apps/talvo/import_walk.h"

#include "apps/talvo/output.h"
#include "apps/talvo/signals.h"
#include "kernel/io/connection.h"

#include <filesystem>

namespace talvo {

namespace {

std::string WithoutEndingSlashes(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

// The last component; for "." and ".." that of the folder they lead to.
String MakeName(const std::string& path) {
    std::filesystem::path name = std::filesystem::path(path).filename();
    if (name.empty() || name == "." || name == "..") {
        std::error_code error;
        name = std::filesystem::canonical(path, error).filename();
    }
    return String(name.empty() ? path : name.string());
}

}  // namespace

ImportWalk::ImportWalk(const Url& repository, FOLDERS folders, Output& output)
    : _repository(FindFileIdentity(repository)), _folders(folders), _output(output) {}

Bool ImportWalk::IsRepository(const Url& folder) const { return _repository && FindFileIdentity(folder) == _repository; }

void ImportWalk::PassOver(const std::string& source, const char* reason) {
    _passedOver++;
    _output.PrintWarning(FormatMessage("\"@\" is passed over: @.", source, reason));
}

void ImportWalk::Fail(const ErrorRef& error) {
    _failures++;
    _output.PrintError(error);
}

void ImportWalk::Add(const std::string& path) {
    const std::string source = WithoutEndingSlashes(path);
    const Url url = Url::FromSystemPath(source);
    const IO_DETECT kind = source.empty() ? IO_DETECT::NOT_THERE : url.IoDetect();
    if (kind == IO_DETECT::NOT_THERE) return Fail(IoError::Create(FormatMessage("\"@\" is not there.", source)));
    if (kind == IO_DETECT::OTHER) return Fail(IoError::Create(FormatMessage("\"@\" is neither a file nor a folder.", source)));
    if (kind == IO_DETECT::FAILED) return Fail(IoError::Create(FormatMessage("It can't be told what is at \"@\".", source)));
    if (kind == IO_DETECT::FILE || _folders == FOLDERS::AS_ONE) {
        if (_repository && LiesIn(source, *_repository))
            return Fail(IllegalArgumentError::Create(FormatMessage("\"@\" lies in the repository itself.", source)));
        _items.push_back({url, source, MakeName(source), {}});
        return;
    }
    WalkFolder(url, source, MakeName(source).GetCString());
}

void ImportWalk::WalkFolder(const Url& folder, const std::string& source, const std::string& name) {
    if (IsRepository(folder)) return PassOver(source, "it is the repository itself");
    _inFolders.push_back(name);
    const Result<void> outcome = TryWalkFolder(folder, source);
    _inFolders.pop_back();
    if (outcome.IsError()) Fail(outcome.GetError());
}

Result<void> ImportWalk::TryWalkFolder(const Url& folder, const std::string& source) {
    const IoConnectionRef connection = TRY(folder.OpenConnection());
    const BaseArray<IoEntry> entries = TRY(connection->Browse(BROWSE_MODE::NAMES));
    for (const IoEntry& entry : entries) {
        if (Signals::IsInterrupted()) return OK;
        if (entry.name.starts_with('.')) {
            _passedOver++;
            continue;
        }
        TRY(AddEntry(folder + entry.name, (source == "/" ? "" : source) + "/" + entry.name, entry.kind));
    }
    return OK;
}

Result<void> ImportWalk::AddEntry(const Url& url, const std::string& source, IO_DETECT kind) {
    if (kind == IO_DETECT::FILE) {
        _items.push_back({url, source, MakeName(source), _inFolders});
        return OK;
    }
    if (kind == IO_DETECT::FAILED) {
        Fail(IoError::Create(FormatMessage("It can't be told what is at \"@\".", source)));
        return OK;
    }
    const IoConnectionRef connection = TRY(url.OpenConnection());
    const Bool isLink = TRY(connection->IoIsLink());
    if (kind == IO_DETECT::DIRECTORY && !isLink) {
        WalkFolder(url, source, std::string(url.GetName()));
    } else {
        PassOver(source, !isLink                        ? "it is neither a file nor a folder"
                         : kind == IO_DETECT::DIRECTORY ? "it is a link to a folder"
                                                        : "it is a link to nothing that can be read");
    }
    return OK;
}

}  // namespace talvo
