// What a lookup carries from repository to repository: where it has been, and the newest version of each asset so far.
#pragma once

#include "assets/asset_description.h"
#include "kernel/base/hash_map.h"
#include "kernel/base/hashing.h"

#include <algorithm>
#include <array>
#include <vector>

namespace talvo {

class AssetRepositoryInterface;

/// Repositories that a walk has entered, by identity. Most graphs are small, and then this allocates nothing.
/// Threads: as a plain value.
class VisitedRepositories {
public:
    /// Whether the walk has been there.
    Bool Contains(const AssetRepositoryInterface* repository) const {
        return std::find(_first.begin(), _first.begin() + _count, repository) != _first.begin() + _count ||
               _others.Contains(repository);
    }
    /// @return true if `repository` was new. Errors: OutOfMemoryError.
    Result<Bool> Insert(const AssetRepositoryInterface* repository) {
        if (Contains(repository)) return false;
        if (std::size_t(_count) == _first.size()) return _others.Insert(repository);
        _first[std::size_t(_count++)] = repository;
        return true;
    }

private:
    std::array<const AssetRepositoryInterface*, 32> _first;
    Int _count = 0;
    HashSet<const AssetRepositoryInterface*> _others;
};

/// One version as repositories keep it.
struct AssetVersionEntry {
    AssetVersionKey key;
    UInt versionWord = 0;          ///< of the version id, to find it without looking at descriptions; 0: no version id
    AssetDescription description;  ///< null for a version known only by its key
};
/// Versions of one asset, oldest first, in a block that never changes.
using AssetVersionBlock = Array<AssetVersionEntry>;

/// Best candidate so far per asset id, in the order in which the ids were first met.
///
/// It keeps blocks of versions instead of versions: a walk has just touched those. What is offered waits until there is a batch of it, so that the
/// table, which is larger than the caches, is read for many ids at once.
/// Threads: as a plain value.
class LatestAssets {
public:
    /// The newest version of one asset so far.
    struct Candidate {
        UInt hash;                       ///< of the asset id
        const AssetVersionEntry* entry;  ///< in `block`
        AssetVersionBlock block;
    };

    /// @param hash GetTableHash of the asset id. @param entry of `block`, with a description. Throws std::bad_alloc.
    void Offer(UInt hash, const AssetVersionBlock& block, const AssetVersionEntry& entry);
    /// Makes room for as many more at once. Throws std::bad_alloc.
    void Expect(Int more);
    /// One for each asset id that was offered. Throws std::bad_alloc.
    Block<const Candidate> GetCandidates();

private:
    static constexpr Int BATCH = 32;
    struct Slot {
        UInt32 number = 0;    // of the candidate plus one; 0: free
        UInt32 fragment = 0;  // of its hash
    };
    static UInt32 GetFragment(UInt hash) { return UInt32(hash >> 32); }
    void Settle();
    void SettleOne(Candidate& offered);
    void Rehash(std::size_t slotCount);

    std::vector<Candidate> _candidates;
    std::vector<Slot> _slots;  // a power of two many, at most half of them taken
    std::vector<Candidate> _offered;
};

}  // namespace talvo
