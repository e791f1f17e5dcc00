// Repositories on a directory tree below one url. `docs/formats.md` describes the tree; `AssetInterface::CreateRepositoryFromUrl` opens or makes one.
#pragma once

#include "baseassetrepository.h"

namespace talvo {

/// Name of the file in the root that holds a repository's id. A directory without it is no repository.
inline constexpr char REPOSITORY_IDENTIFIER_FILE[] = "databaseid";

/// What a url repository offers beyond others; reach it with dynamic_cast from the repository.
class UrlAssetRepositoryInterface {
public:
    virtual ~UrlAssetRepositoryInterface() = default;
    /// The root. @param getOrigin of a local mirror: the place that it mirrors.
    virtual Url GetUrl(Bool getOrigin) const = 0;
    /// Directory of one version, where its payload and metadata lie. Errors: IllegalArgumentError if `asset` isn't a version of this repository.
    virtual Result<Url> GetVersionDirectory(const AssetDescription& asset) = 0;
    /// Makes all that was stored survive a loss of power. Cheap if nothing was stored since.
    virtual Result<void> Sync() = 0;
};

/// One thing that a check of a repository found.
struct RepositoryFinding {
    /// What is wrong.
    enum class PROBLEM : Int32 {
        PAYLOAD_CHANGED,  ///< the bytes don't have the hash under which they were stored
        PAYLOAD_MISSING,
        PAYLOAD_DOUBLED,  ///< more than one payload in a version
        PAYLOAD_UNREADABLE,
        DOCUMENT_DAMAGED,    ///< a metadata document doesn't read
        HASH_MISSING,        ///< no `hash` file, so the payload can't be checked
        TIMESTAMP_MISSING,   ///< the order of versions rests on it
        ASSET_INFO_DAMAGED,  ///< the directory names no asset
        ID_DOUBLED,          ///< another directory claims the same asset id
        LEFTOVER             ///< a hidden leftover of work that was cut off; `gc` removes it
    };
    Id id;
    Id version;
    PROBLEM problem;
    String explanation;  ///< what it means and what to do
    Url path;
};

/// What a check went through.
struct RepositoryCheckSummary {
    Int assets = 0;
    Int versions = 0;
    Int64 bytes = 0;
    Int problems = 0;
    Int unchecked = 0;  ///< directories that were left out because the check was ended
};

namespace RepositoryMaintenance {

/// Recomputes payload hashes and reads every document below `root`; changes nothing. `receiver` gets each finding, sorted by path, on the calling thread.
/// @param threads at least 1. Errors: IllegalArgumentError if `root` is no repository; OperationCancelledError.
Result<RepositoryCheckSummary> Verify(const Url& root, Int threads, Receiver<RepositoryFinding> receiver);
/// @param goOn asked on the calling thread between two directories; false ends the check, and what was found until then is told.
Result<RepositoryCheckSummary> Verify(const Url& root, Int threads, Receiver<RepositoryFinding> receiver,
                                      FunctionRef<Bool()> goOn);

/// Whether leftovers are removed or only told.
enum class GC_MODE { REMOVE, DRY_RUN };
/// A leftover and its size.
struct Leftover {
    Url path;
    Int64 bytes = 0;
};
/// Finds our own hidden leftovers older than `minimumAge` microseconds and removes them. Nothing else is ever touched.
Result<void> CollectGarbage(const Url& root, GC_MODE mode, Int64 minimumAge, Receiver<Leftover> receiver);

/// What an index tells of a range of version numbers.
struct IndexRangeInfo {
    UInt first = 0;
    UInt last = 0;
    Int assets = 0;
    Int versions = 0;
    Int64 bytes = 0;
};
/// How a repository would be opened.
struct IndexSummary {
    /// Whether there is an index; DROPPED: assets were changed since it was written, and a journal tells which.
    enum class STATE { NONE, VISIBLE, DROPPED } state = STATE::NONE;
    Int changedAssets = 0;   ///< that are read from the tree beside a dropped index
    Bool scansTree = false;  ///< all of the tree is read
};
/// Reads the index as an opening does. Errors: IllegalArgumentError if `root` is no repository; FileFormatError for a damaged index.
Result<IndexSummary> ReadIndex(const Url& root, Receiver<IndexRangeInfo> receiver);

/// Whether what is wrong is only told or mended.
enum class DIAGNOSE_MODE { LOOK, MEND };
/// Something that is wrong with a repository.
struct Ailment {
    String explanation;  ///< what it means and what to do, or what was done
    Url path;
    Bool isMended = false;
};
/// Looks for what is wrong with the form of a repository, also of one that doesn't open: its identifier, its index, names of version directories,
/// documents that can't be read. Contents are for Verify. MEND deletes nothing but an index, which is a cache; what can't be read gets a hidden name beside
/// its own. The repository should not be open elsewhere then.
/// Errors: IoError; IllegalArgumentError if `root` is no directory; OperationCancelledError.
Result<void> Diagnose(const Url& root, DIAGNOSE_MODE mode, Receiver<Ailment> receiver);

}  // namespace RepositoryMaintenance

}  // namespace talvo
