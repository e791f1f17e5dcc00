#include "asset_scheme/content_table.h"

#include "kernel/thread/locks.h"

#include <unordered_map>
#include <vector>

namespace talvo {

namespace {

constexpr LiteralId TABLE_KEY{"net.talvo.asset.contenttable"};

/// Which assets may have their content at a url. It only grows: whether an asset still is there is for the repository to say.
///
/// Threads:    any. Walks and lookups run outside of the lock; two first questions may both walk.
/// Lock order: a leaf.
class ContentTable final : public DerivedAssetRepositoryDataInterface {
public:
    Result<AssetDescription> Find(const Url& url, const AssetRepositoryRef& repository) {
        TRY(BringUpToDate(repository));
        for (const Id& aid : FindCandidates(url)) {
            AssetDescription found = TRY(repository->FindLatestAsset(Id(), aid, Id(), ASSET_FIND_MODE::NONE));
            if (found && HasContentAt(found, url)) return found;
        }
        return AssetDescription();
    }

    void HandleBaseChanged(const AssetRepositoryRef&, const AssetRepositoryRef&, Bool) override { Forget(); }
    void HandleAssetStored(const AssetBase& asset) override { NoteChanged(asset); }
    /// What was behind it may come to light.
    void HandleAssetErased(const AssetBase& asset) override { NoteChanged(asset); }
    void HandleAssetUpdated(const AssetBase&) override {}
    void HandleMetaDataStored(const AssetBase&, const InternedId&, ASSET_METADATA_KIND, const Data&, const Data&) override {}
    void HandleDownloadStateChanged(const AssetRepositoryRef&, Bool) override {}

private:
    using Places = std::unordered_multimap<UInt, Id>;  // by the hash of the url: urls are long, and there are many
    struct State {
        Bool isBuilt = false;
        Int builders = 0;
        UInt baseChanges = 0;
        UInt settled = 0;         // how many changes the table knows
        std::vector<Id> changed;  // those after them
        Places places;
    };

    static Bool HasContentAt(const AssetDescription& asset, const Url& url) {
        const Result<const Url&> content = asset->GetUrl();
        return content.IsOk() && content.GetValue() == url;
    }

    static void Add(Places& places, UInt hash, const Id& aid) {
        for (auto [at, end] = places.equal_range(hash); at != end; ++at) {
            if (at->second == aid) return;
        }
        places.emplace(hash, aid);
    }
    static void Add(Places& places, const AssetDescription& asset) {
        const Result<const Url&> content = asset->GetUrl();
        if (content.IsError() || content.GetValue().IsEmpty()) return;
        Add(places, content.GetValue().GetHashCode(), asset->GetIdAndVersion().first);
    }

    void Forget() {
        const auto state = _state.Write();
        ++state->baseChanges;
        state->isBuilt = false;
    }

    void NoteChanged(const AssetBase& asset) {
        const Result<void> noted = CatchOutOfMemory([&]() -> Result<void> {
            const auto state = _state.Write();
            // A walk that begins later sees the change itself.
            if (state->isBuilt || state->builders > 0) state->changed.push_back(asset->GetIdAndVersion().first);
            return OK;
        });
        if (noted.IsError()) Forget();
    }

    Result<void> BringUpToDate(const AssetRepositoryRef& repository) {
        for (;;) {
            std::vector<Id> changed;
            UInt known = 0;
            Bool isBuilt = false;
            {
                const auto state = _state.Read();
                isBuilt = state->isBuilt;
                changed = state->changed;
                known = state->settled + changed.size();
            }
            if (isBuilt && changed.empty()) return OK;
            if (isBuilt) {
                TRY(Refresh(repository, changed, known));
            } else {
                TRY(Build(repository));
            }
        }
    }

    Result<void> Build(const AssetRepositoryRef& repository) {
        UInt baseChanges = 0;
        {
            const auto state = _state.Write();
            baseChanges = state->baseChanges;
            ++state->builders;
        }
        Places places;
        const Result<Bool> walked = CatchOutOfMemory([&] {
            return FindAssets(repository, {}, Id(), Id(), ASSET_FIND_MODE::LATEST,
                              [&](const AssetDescription& found) -> Result<Bool> {
                                  Add(places, found);
                                  return true;
                              });
        });
        const auto state = _state.Write();
        --state->builders;
        if (walked.IsError()) return walked.GetError();
        if (state->baseChanges != baseChanges) return OK;  // a base came or went during the walk: once more
        if (!state->isBuilt) state->places.swap(places);
        state->isBuilt = true;
        return OK;
    }

    /// What changed stays noted until the table knows it, so that nobody finds it missing in between.
    Result<void> Refresh(const AssetRepositoryRef& repository, const std::vector<Id>& changed, UInt known) {
        Places places;
        for (const Id& aid : changed) {
            const AssetDescription found = TRY(repository->FindLatestAsset(Id(), aid, Id(), ASSET_FIND_MODE::NONE));
            if (found) Add(places, found);
        }
        const auto state = _state.Write();
        for (const auto& [hash, aid] : places) Add(state->places, hash, aid);
        if (known > state->settled) {
            state->changed.erase(state->changed.begin(), state->changed.begin() + std::ptrdiff_t(known - state->settled));
            state->settled = known;
        }
        return OK;
    }

    std::vector<Id> FindCandidates(const Url& url) const {
        std::vector<Id> candidates;
        const auto state = _state.Read();
        for (auto [at, end] = state->places.equal_range(url.GetHashCode()); at != end; ++at) candidates.push_back(at->second);
        return candidates;
    }

    Guarded<State, ARWLock> _state;
};

}  // namespace

Result<AssetDescription> FindAssetByContent(const Url& url, const AssetRepositoryRef& repository) {
    const DerivedAssetRepositoryDataRef data =
        TRY(repository->GetCachedData(Data(TABLE_KEY), []() -> Result<DerivedAssetRepositoryDataRef> {
            return DerivedAssetRepositoryDataRef(new ContentTable);
        }));
    auto* table = dynamic_cast<ContentTable*>(data.GetPointer());
    if (!table) return UnexpectedError::Create("What the repository keeps as its table of contents is none.");
    return table->Find(url, repository);
}

}  // namespace talvo
