// A repository in memory: for tests, for previews, and as the example of how to write a backend.
#pragma once

#include "baseassetrepository.h"

namespace talvo {

/// Keeps payloads of file assets as files of a memory volume and metadata as values. All is gone with its last reference.
///
/// A backend answers five questions, and this one answers each in a few lines: which ids are there (LoadExistingIdsImpl), which versions has an id
/// (LoadVersionsImpl), how is a version written (StoreImpl, PublishVersionImpl), how is one removed (EraseImpl), and where do metadata values go
/// (LoadMetaDataImpl, StoreMetaDataImpl). Order, lookup, events and locks are the engine's.
/// Version ids are `v<counter>`.
class MemoryAssetRepository {
public:
    /// Whether versions can be stored.
    enum class ACCESS { READ_ONLY, WRITABLE };
    /// A fresh, empty repository with these bases.
    static Result<BaseAssetRepositoryRef> Create(const Id& id, Block<const AssetRepositoryRef> bases, ACCESS access);
};

}  // namespace talvo
