// A repository on a scratch directory, which tests look into from outside.
#pragma once

#include "kernel/app/application.h"
#include "kernel/io/connection.h"
#include "support/asset_test_support.h"
#include "url_repository/create_repository.h"
#include "urlassetrepository.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace talvo {

class UrlRepositoryTest : public testing::Test {
protected:
    using KIND = ASSET_METADATA_KIND;
    using MODE = ASSET_FIND_MODE;
    enum class ACCESS { READ_ONLY, WRITABLE };
    static constexpr const char* USER_TREE = "home/preferences/net.talvo.asset/_assets/user.db";
    static constexpr const char* DERIVED_TREE = "home/generated/net.talvo.asset/dc/repo";

    UrlRepositoryTest() {
        Application::SetHome(_scratch.GetUrl() + "home");
        _scratch.MakeFolder("repo");
    }
    ~UrlRepositoryTest() override { Application::SetHome(Url()); }

    /// Opens the directory `repo`. Its id is "repo" if it has none. It holds what is stored in it and nothing else.
    UpdatableAssetRepositoryRef Open(ACCESS access = ACCESS::WRITABLE) const {
        UrlRepositoryRequest request;
        if (access == ACCESS::WRITABLE) request.id = MakeId("repo");
        request.url = GetRoot();
        request.access =
            access == ACCESS::WRITABLE ? UrlRepositoryRequest::ACCESS::WRITABLE : UrlRepositoryRequest::ACCESS::READ_ONLY;
        return Need(OpenUrlRepository(request));
    }
    /// The repository seen as what it offers beyond others.
    template <typename INTERFACE>
    static INTERFACE& As(const AssetRepositoryRef& repository) {
        return dynamic_cast<INTERFACE&>(*repository);
    }
    Url GetRoot() const { return _scratch.GetUrl() + "repo"; }
    Asset File(std::string_view bytes, std::string_view name = "payload.txt") const {
        return MakeFileAsset(_scratch, name, bytes);
    }
    AssetDescription Store(const AssetRepositoryRef& repository, std::string_view aid, std::string_view bytes) const {
        return Need(repository->StoreAsset(MakeId(aid), File(bytes), nullptr));
    }
    /// Writes a version as other programs do: in place. @param name "<asset>/<version>".
    void WriteVersion(const std::string& name, std::string_view payload, std::string_view hash = "h") const {
        _scratch.Write("repo/" + name + "/asset.txt", payload);
        _scratch.Write("repo/" + name + "/hash", std::string(hash) + "\n");
    }
    void WriteInfo(const std::string& directory, const std::string& id) const {
        _scratch.Write("repo/" + directory + "/asset.info", id + "\nnet.talvo.assettype.file\n");
    }
    /// Each version with its payload: "id/version#number bytes", deletion marks as "id/deleted#number", sorted by id, newest first.
    static std::vector<std::string> Describe(const AssetRepositoryRef& repository) {
        std::map<std::string, std::vector<std::string>> byId;
        const auto mode = MODE::ALL_VERSIONS | MODE::WITH_DELETED | MODE::WITHOUT_BASES;
        Need(FindAssets(repository, {}, Id(), Id(), mode, [&](const AssetDescription& found) -> Result<Bool> {
            std::string line = ToText(found) + "#" + std::to_string(found.GetVersionKey().counter);
            if (!found->IsDeleted()) line += " " + ReadPayload(found);
            byId[line.substr(0, line.find('/'))].push_back(line);
            return true;
        }));
        std::vector<std::string> lines;
        for (const auto& entry : byId) lines.insert(lines.end(), entry.second.begin(), entry.second.end());
        return lines;
    }
    static CompactableAssetRepositoryInterface& Indexed(const AssetRepositoryRef& repository) {
        return As<CompactableAssetRepositoryInterface>(repository);
    }
    /// All that can be read: versions as in Describe, each with its values.
    static std::vector<std::string> DescribeAll(const AssetRepositoryRef& repository) {
        std::vector<std::string> lines = Describe(repository);
        const auto mode = MODE::ALL_VERSIONS | MODE::WITH_DELETED | MODE::WITHOUT_BASES;
        std::vector<std::string> values;
        Need(FindAssets(repository, {}, Id(), Id(), mode, [&](const AssetDescription& found) -> Result<Bool> {
            for (const auto& [id, kind] : Need(found->GetMetaData()->GetExistingEntries())) {
                if (HasFlag(kind, KIND::DERIVED)) continue;
                const Opt<Data> value = Need(found->GetMetaData()->Get(id));
                values.push_back(ToText(found) + " " + std::string(id.GetView()) + " " +
                                 std::to_string(UInt32(kind) & ~UInt32(1)) + " " + (value ? value->ToString() : "-"));
            }
            return true;
        }));
        std::sort(values.begin(), values.end());
        lines.insert(lines.end(), values.begin(), values.end());
        return lines;
    }
    /// The same of a copy of the tree that has no index.
    std::vector<std::string> DescribeTree() const {
        std::filesystem::remove_all(_scratch / "copy");
        std::filesystem::copy(_scratch / "repo", _scratch / "copy", std::filesystem::copy_options::recursive);
        std::filesystem::remove_all(_scratch / "copy/_index");
        std::filesystem::remove_all(_scratch / "copy/.~index");
        UrlRepositoryRequest request;
        request.url = _scratch.GetUrl() + "copy";
        request.access = UrlRepositoryRequest::ACCESS::WRITABLE;
        return DescribeAll(Need(OpenUrlRepository(request)));
    }
    static std::vector<std::string> IdsOf(const AssetRepositoryRef& repository) {
        std::vector<std::string> ids;
        for (const std::string& line : Describe(repository)) ids.push_back(line.substr(0, line.find('/')));
        return ids;
    }
    static std::string GetMeta(const AssetDescription& asset, std::string_view key) {
        const Opt<Data> value = Need(asset->GetMetaData()->Get(MakeMetaId(key)));
        return value ? value->ToString() : "-";
    }
    /// All names below `repo` but the identifier and the counter.
    std::string ListTree() const {
        std::string list = " " + _scratch.List("repo") + " ";
        for (const std::string& name : {std::string(" databaseid "), std::string(" version ")}) {
            if (const std::size_t at = list.find(name); at != std::string::npos) list.erase(at, name.size() - 1);
        }
        return list.size() <= 2 ? std::string() : list.substr(1, list.size() - 2);
    }
    static std::string HashOf(std::string_view bytes) {
        std::string digest;
        const OutputStreamRef output = Need(CreateHashingOutputStream(Need(CreateNullOutputStream()), digest));
        Need(output->Write(bytes));
        Need(output->Close());
        return ToHex(digest);
    }
    void MakeFifo(const std::string& name) const { ASSERT_EQ(mkfifo((_scratch / name).c_str(), 0600), 0); }
    void MakeLink(const std::string& target, const std::string& name) const {
        std::filesystem::create_symlink(target, _scratch / name);
    }
    void Remove(const std::string& name) const { std::filesystem::remove_all(_scratch / name); }

    const ScratchDirectory _scratch;
};

}  // namespace talvo
