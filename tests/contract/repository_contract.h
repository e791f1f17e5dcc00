// What every kind of repository has to do, tested once for each kind. A test that needs a second opening says so with `Reopen`.
#pragma once

#include "kernel/app/application.h"
#include "memoryassetrepository.h"
#include "support/asset_test_support.h"
#include "url_repository/create_repository.h"

#include <map>
#include <string>
#include <vector>

namespace talvo {

enum class BACKEND { MEMORY, DISK };

class RepositoryContract : public testing::TestWithParam<BACKEND> {
protected:
    using KIND = ASSET_METADATA_KIND;
    using MODE = ASSET_FIND_MODE;
    enum class ACCESS { READ_ONLY, WRITABLE };

    RepositoryContract() { Application::SetHome(_scratch.GetUrl() + "home"); }
    ~RepositoryContract() override { Application::SetHome(Url()); }

    UpdatableAssetRepositoryRef Create(const std::string& id, std::vector<AssetRepositoryRef> bases = {}) {
        const Id rid = MakeId(id);
        if (GetParam() == BACKEND::MEMORY)
            return Need(MemoryAssetRepository::Create(rid, bases, MemoryAssetRepository::ACCESS::WRITABLE));
        _scratch.MakeFolder("repositories/" + id);
        return Open(rid, bases, ACCESS::WRITABLE);
    }
    Bool CanReopen() const { return GetParam() == BACKEND::DISK; }
    /// Drops the repository, which nobody else may hold, and opens it again. One in memory stays as it is.
    void Reopen(UpdatableAssetRepositoryRef& repository, ACCESS access = ACCESS::WRITABLE) {
        if (!CanReopen()) return;
        const Id rid = repository->GetId();
        const Array<AssetRepositoryRef> bases = repository->GetBases();
        ASSERT_EQ(repository->GetReferenceCount(), 1U) << "somebody still holds the repository";
        repository = nullptr;
        repository = Open(rid, {bases.begin(), bases.end()}, access);
    }

    const ScratchDirectory& GetScratch() const { return _scratch; }
    Asset File(std::string_view bytes, std::string_view name = "payload.txt") const {
        return MakeFileAsset(_scratch, name, bytes);
    }
    AssetDescription Store(const AssetRepositoryRef& repository, const Id& aid, std::string_view bytes) const {
        return Need(repository->StoreAsset(aid, File(bytes), nullptr));
    }
    /// The version id that a payload gets as version `counter`.
    std::string GetVersionId(Int counter, std::string_view bytes) const {
        if (GetParam() == BACKEND::MEMORY) return "v" + std::to_string(counter);
        std::string digest;
        const OutputStreamRef output = Need(CreateHashingOutputStream(Need(CreateNullOutputStream()), digest));
        Need(output->Write(bytes));
        Need(output->Close());
        return ToHex(digest);
    }
    /// "id#counter" of each version found, "-" behind deletion markers; ids in order, the versions of one in the order of the walk.
    static std::vector<std::string> List(const AssetRepositoryRef& repository, Block<const Id> types, const Id& aid,
                                         const Id& version, MODE mode) {
        std::map<std::string, std::vector<std::string>> byId;
        Need(FindAssets(repository, types, aid, version, mode, [&](const AssetDescription& found) -> Result<Bool> {
            const std::string id(found->GetIdAndVersion().first.GetView());
            byId[id].push_back(id + "#" + std::to_string(found.GetVersionKey().counter) + (found->IsDeleted() ? "-" : ""));
            return true;
        }));
        std::vector<std::string> result;
        for (const auto& entry : byId) result.insert(result.end(), entry.second.begin(), entry.second.end());
        return result;
    }
    static std::vector<std::string> ListAll(const AssetRepositoryRef& repository) {
        return List(repository, {}, Id(), Id(), MODE::ALL_VERSIONS | MODE::WITH_DELETED | MODE::WITHOUT_BASES);
    }
    /// The value as text, "-" if there is none.
    static std::string GetMeta(const AssetDescription& asset, std::string_view metaId) {
        const Opt<Data> value = Need(asset->GetMetaData()->Get(MakeMetaId(metaId)));
        return value ? value->ToString() : "-";
    }
    /// "id:kind" of each entry but the time, sorted.
    static std::vector<std::string> ListMeta(const AssetDescription& asset) {
        std::vector<std::string> entries;
        for (const auto& [id, kind] : Need(asset->GetMetaData()->GetExistingEntries())) {
            if (id.GetId() == ASSETMETADATA::TIMESTAMP) continue;
            entries.push_back(std::string(id.GetView()) + ":" + std::to_string(UInt32(kind)));
        }
        return Sorted(std::move(entries));
    }
    static KIND Kind(UInt32 value) { return KIND(value); }

private:
    UpdatableAssetRepositoryRef Open(const Id& rid, Block<const AssetRepositoryRef> bases, ACCESS access) {
        const Url root = _scratch.GetUrl() + "repositories" + rid.GetView();
        using Request = UrlRepositoryRequest;
        const auto mode = access == ACCESS::WRITABLE ? Request::ACCESS::WRITABLE : Request::ACCESS::READ_ONLY;
        return Need(OpenUrlRepository({.id = rid, .bases = bases, .url = root, .access = mode}));
    }

    const ScratchDirectory _scratch;
};

}  // namespace talvo
