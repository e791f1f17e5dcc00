// A library that nobody has collected: what its assets are called, where they belong and what they hold follows from a seed.
#pragma once

#include "kernel/base/types.h"

#include <string>
#include <string_view>
#include <vector>

namespace talvo::bench {

struct LibraryOptions {
    Int assets = 1000;  ///< with the categories among them
    Int versions = 1;   ///< of each file; categories have one
    UInt seed = 1;
};

struct LibraryVersion {
    Int64 size = 0;
    Int64 time = 0;  ///< microseconds since 1970
};

struct LibraryAsset {
    std::string id;
    std::string_view type;
    std::string english;  ///< empty: no name
    std::string german;
    std::string category;  ///< empty: none
    std::string_view subtype;
    std::vector<std::string> keywords;
    std::string_view suffix;               ///< of the payload
    std::vector<LibraryVersion> versions;  ///< that at `i` has the number `i + 1`
};

/// Each asset can be made without those before it. Equal options give equal libraries.
/// Threads: any.
class LibraryModel {
public:
    explicit LibraryModel(const LibraryOptions& options);

    /// One more than was asked for: a repository has an asset of its own, which holds what people call it.
    Int GetCount() const { return _options.assets + 1; }
    Int GetVersionCount() const;
    LibraryAsset MakeAsset(Int index) const;
    std::string GetId(Int index) const;
    /// The bytes of a version's payload. @param version counted from 0.
    void FillPayload(Int index, const LibraryAsset& asset, Int version, std::string& bytes) const;
    /// All indices by the bytes of their ids.
    std::vector<Int> GetOrder() const;
    std::string GetRepositoryId() const;
    /// No version is younger.
    Int64 GetLastTime() const;
    const LibraryOptions& GetOptions() const { return _options; }

private:
    LibraryAsset MakeInformation() const;
    LibraryAsset MakeCategory(Int index) const;
    LibraryAsset MakeFile(Int index) const;
    std::string GetCategoryId(Int index) const;
    std::string FindCategory(Int noun, Int modifier) const;

    const LibraryOptions _options;
    const Int _categories;
};

}  // namespace talvo::bench
