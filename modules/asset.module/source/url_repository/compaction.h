// The writing of an index.
//
// Memory or the tree is read while stores go on; nothing waits for it. What was changed meanwhile is noticed when the result is to be placed, and then
// it is thrown away.
#pragma once

#include "url_repository/index_directory.h"
#include "url_repository/index_writer.h"
#include "url_repository/url_asset_repository.h"

namespace talvo {

/// One try to write an index. Threads: one at a time.
class UrlAssetRepositoryImpl::Compaction {
public:
    /// @param range of the versions that are told; its end is lowered to the highest number there is.
    Compaction(UrlAssetRepositoryImpl& repository, IndexRange range, FunctionRef<Result<void>(Float64)> progress)
        : _repository(repository), _range(range), _progress(progress) {}
    /// @return false if an asset was changed meanwhile. Errors: as Compact.
    Result<Bool> Run();

private:
    /// An asset, and where it is read from.
    struct Item {
        Id aid;
        Id type;
        Id directory;  // null: from memory
    };
    struct Version {
        UInt number;
        AssetDescription description;
        std::string directory;
        std::string payload;  // empty for a deletion mark
    };
    Result<Bool> RunIn(const Url& work);
    Result<Bool> Abandon(Result<Bool> outcome);
    Bool IsMemoryTrue() const;
    IndexRange GetFinalRange() const;
    Result<std::vector<Item>> ListItems();
    Result<Bool> WriteItem(const Item& item);
    Result<void> WriteVersions(const Item& item, const Id& directory, const std::vector<Version>& versions);
    Result<void> WriteVersion(const Item& item, const Id& directory, const Version& version, Bool isDoubled);
    Result<void> WriteTree(const Url& work);
    Result<void> Skip(const std::string& path);

    UrlAssetRepositoryImpl& _repository;
    const IndexRange _range;
    const FunctionRef<Result<void>(Float64)> _progress;
    IndexDirectory::Start _start;
    Bool _memoryIsTrue = false;
    Bool _isPlaced = false;  // it stands in part at least
    Opt<IndexWriter> _writer;
    std::string _modified;       // bytes of `modified.dat`
    std::vector<UInt> _skipped;  // hashes of the paths of files that the index stands for, sorted once all are there
};

}  // namespace talvo
