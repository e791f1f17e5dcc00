#include "assets/asset_link.h"

#include "asset_utilities.h"
#include "assets/asset_repository.h"
#include "kernel/text/format.h"

#include <absl/hash/hash.h>

#include <string>
#include <tuple>
#include <utility>

namespace talvo {

namespace {

constexpr const char* POLICY_NAMES[] = {"NEVER", "EXPLICIT", "IMPLICIT"};

String GetPolicyName(ASSET_UPDATE_POLICY policy) { return POLICY_NAMES[UInt32(policy)]; }

class AssetLinkImpl final : public AssetLinkInterface {
public:
    struct Members {
        Id type;
        IdAndVersion identity;
        ASSET_UPDATE_POLICY policy = ASSET_UPDATE_POLICY::EXPLICIT;
        Url url;
        DataDictionary originData;
        Bool operator==(const Members&) const = default;
    };
    explicit AssetLinkImpl(Members members) : _members(std::move(members)) {}

    const Members& GetMembers() const { return _members; }
    const Id& GetTypeId() const override { return _members.type; }
    const IdAndVersion& GetIdAndVersion() const override { return _members.identity; }
    const Url& GetUrl() const override { return _members.url; }
    ASSET_UPDATE_POLICY GetUpdatePolicy() const override { return _members.policy; }
    void SetUpdatePolicy(ASSET_UPDATE_POLICY policy) override { _members.policy = policy; }
    const DataDictionary& GetOriginData() const override { return _members.originData; }
    void SetOriginData(const DataDictionary& originData) override { _members.originData = originData; }
    String ToString() const override { return ToText(TEXT_LEVEL::SHORT); }

    void SetUrl(const Url& url) override {
        _members.url = url;
        _members.identity = {};
        _members.policy = ASSET_UPDATE_POLICY::NEVER;
    }
    void SetIdAndVersion(const IdAndVersion& identity) override {
        _members.identity = identity;
        _members.url = Url();
    }

    Result<AssetDescription> Resolve(const AssetRepositoryRef& context) const override {
        return CatchOutOfMemory([&]() -> Result<AssetDescription> {
            if (const AssetRepositoryRef origin = FindOrigin()) {
                AssetDescription found = TRY(ResolveIn(origin));
                if (found) return found;
            }
            return ResolveIn(context);
        });
    }

    String ToText(TEXT_LEVEL level) const override {
        const String policy = GetPolicyName(_members.policy);
        const String identity = ToIdentityText(_members.identity);
        const Bool byUrl = _members.url.IsPopulated();
        if (level == TEXT_LEVEL::SHORT) return byUrl ? _members.url.ToString() : FormatString("@/@", identity, policy);
        const String target = byUrl ? FormatString("Url/Policy: @/@,", _members.url.ToString(), policy)
                                    : FormatString("Id/Version/Policy: @/@,", identity, policy);
        const std::string origin = _members.originData.IsEmpty() ? "nullptr" : _members.originData.ToString();
        return FormatString("{Type: @,@Origin: @}", _members.type, target, origin);
    }

private:
    /// Where the target was found when the link was made, if that can still be reached.
    AssetRepositoryRef FindOrigin() const {
        const Opt<Id> id = _members.originData.Get<Id>(ASSETLINK_ORIGIN::REPOID);
        const AssetRepositoryRef& root = AssetInterface::GetUserPrefsRepository();
        return id && id->IsPopulated() && root ? root->FindRepository(*id) : nullptr;
    }
    Result<AssetDescription> ResolveIn(const AssetRepositoryRef& repository) const {
        const auto& [aid, version] = _members.identity;
        if (_members.url.IsEmpty() && aid.IsEmpty()) return AssetDescription();
        if (!repository)
            return NullptrError::Create(FormatMessage("The link @ can't be resolved without a repository.", ToString()));
        if (_members.url.IsPopulated()) return AssetInterface::ResolveAsset(_members.url, repository);
        return repository->FindLatestAsset(_members.type, aid, version == g_newVersion ? Id() : version, ASSET_FIND_MODE::NONE);
    }

    Members _members;
};

/// All links are made here, so each is of this class.
const AssetLinkImpl::Members& GetMembers(const AssetLink& link) { return static_cast<const AssetLinkImpl&>(*link).GetMembers(); }

AssetLink MakeLink(AssetLinkImpl::Members members) {
    return AssetLink(StrongRef<AssetLinkInterface>(new AssetLinkImpl(std::move(members))));
}

}  // namespace

Result<AssetLink> AssetLink::Create(const Asset& asset, ASSET_UPDATE_POLICY policy) {
    CHECK_ARGUMENT(asset, "asset");
    return CatchOutOfMemory([&]() -> Result<AssetLink> {
        AssetLinkImpl::Members members;
        members.type = asset->GetTypeId();
        members.identity = asset->GetIdAndVersion();
        members.policy = policy;
        const AssetDescription description = TRY(asset->GetDescription());
        members.originData = TRY(AssetUtilities::GetMergedAssetOriginData(description, AssetLink(), nullptr));
        return MakeLink(std::move(members));
    });
}

Result<AssetLink> AssetLink::Create(const Id& type, const IdAndVersion& identity, ASSET_UPDATE_POLICY policy) {
    return CatchOutOfMemory([&]() -> Result<AssetLink> {
        AssetLinkImpl::Members members;
        members.type = type;
        members.identity = identity;
        members.policy = policy;
        return MakeLink(std::move(members));
    });
}

Result<AssetLink> AssetLink::Create(const Id& type, const Url& url) {
    return CatchOutOfMemory([&]() -> Result<AssetLink> {
        AssetLinkImpl::Members members;
        members.type = type;
        members.policy = ASSET_UPDATE_POLICY::NEVER;
        members.url = url;
        return MakeLink(std::move(members));
    });
}

Result<AssetLink> AssetLink::Clone() const {
    if (!*this) return AssetLink();
    return CatchOutOfMemory([&]() -> Result<AssetLink> { return MakeLink(GetMembers(*this)); });
}

Bool AssetLink::IsEqual(const AssetLink& other) const {
    if (GetPointer() == other.GetPointer()) return true;
    return *this && other && GetMembers(*this) == GetMembers(other);
}

UInt AssetLink::GetHashCode() const {
    if (!*this) return 0;
    const AssetLinkImpl::Members& members = GetMembers(*this);
    return absl::HashOf(members.type, members.identity, UInt32(members.policy), members.url, members.originData);
}

namespace {

Result<DocumentValue> WriteIdentity(const IdAndVersion& identity) { return DataTraits<IdAndVersion>::ToDocument(identity); }

Result<DocumentValue> WriteOriginData(const DataDictionary& originData) {
    return DataTraits<DataDictionary>::ToDocument(originData);
}

}  // namespace

Result<DocumentValue> DataTraits<ASSET_UPDATE_POLICY>::ToDocument(const ASSET_UPDATE_POLICY& value) {
    return DocumentValue(Int64(value));
}

Result<ASSET_UPDATE_POLICY> DataTraits<ASSET_UPDATE_POLICY>::FromDocument(const DocumentValue& value) {
    const Int64 number = TRY(value.GetInt());
    if (number < 0 || number > Int64(ASSET_UPDATE_POLICY::IMPLICIT)) {
        return FileFormatError::Create(FormatMessage("@ is no update policy of a link; 0, 1 and 2 are.", number));
    }
    return ASSET_UPDATE_POLICY(number);
}

Result<DocumentValue> DataTraits<AssetLink>::ToDocument(const AssetLink& value) {
    if (!value) return DocumentValue();
    const AssetLinkImpl::Members& members = GetMembers(value);
    DocumentValue type = TRY(DataTraits<Id>::ToDocument(members.type));
    DocumentValue identity = TRY(WriteIdentity(members.identity));
    DocumentValue policy = TRY(DataTraits<ASSET_UPDATE_POLICY>::ToDocument(members.policy));
    DocumentValue url = TRY(DataTraits<Url>::ToDocument(members.url));
    DocumentValue origin = TRY(WriteOriginData(members.originData));
    return DocumentValue(DocumentValue::ObjectType{{"_type", std::move(type)},
                                                   {"_id", std::move(identity)},
                                                   {"_updatePolicy", std::move(policy)},
                                                   {"_url", std::move(url)},
                                                   {"_originData", std::move(origin)}});
}

namespace {

template <typename T>
Result<T> ReadMember(const DocumentValue& object, std::string_view key) {
    const DocumentValue& member = TRY_REF(object.GetMember(key));
    return DataTraits<T>::FromDocument(member);
}

}  // namespace

Result<AssetLink> DataTraits<AssetLink>::FromDocument(const DocumentValue& value) {
    if (value.IsNull()) return AssetLink();
    AssetLinkImpl::Members members;
    members.type = TRY(ReadMember<Id>(value, "_type"));
    members.identity = TRY(ReadMember<IdAndVersion>(value, "_id"));
    members.policy = TRY(ReadMember<ASSET_UPDATE_POLICY>(value, "_updatePolicy"));
    members.url = TRY(ReadMember<Url>(value, "_url"));
    members.originData = TRY(ReadMember<DataDictionary>(value, "_originData"));
    return MakeLink(std::move(members));
}

Result<DocumentValue> DataTraits<AssetDependencyStruct>::ToDocument(const AssetDependencyStruct& value) {
    DocumentValue identity = TRY(WriteIdentity(value.assetIdAndVersion));
    DocumentValue type = TRY(DataTraits<Id>::ToDocument(value.assetTypeId));
    DocumentValue date = TRY(DataTraits<UniversalDateTime>::ToDocument(value.assetCreationDate));
    DocumentValue name = TRY(DataTraits<String>::ToDocument(value.originalName));
    DocumentValue policy = TRY(DataTraits<ASSET_UPDATE_POLICY>::ToDocument(value.updatePolicy));
    return DocumentValue(DocumentValue::ObjectType{{"assetIdAndVersion", std::move(identity)},
                                                   {"assetTypeId", std::move(type)},
                                                   {"assetCreationDate", std::move(date)},
                                                   {"originalName", std::move(name)},
                                                   {"updatePolicy", std::move(policy)}});
}

Result<AssetDependencyStruct> DataTraits<AssetDependencyStruct>::FromDocument(const DocumentValue& value) {
    AssetDependencyStruct result;
    result.assetIdAndVersion = TRY(ReadMember<IdAndVersion>(value, "assetIdAndVersion"));
    result.assetTypeId = TRY(ReadMember<Id>(value, "assetTypeId"));
    result.assetCreationDate = TRY(ReadMember<UniversalDateTime>(value, "assetCreationDate"));
    result.originalName = TRY(ReadMember<String>(value, "originalName"));
    result.updatePolicy = TRY(ReadMember<ASSET_UPDATE_POLICY>(value, "updatePolicy"));
    return result;
}

}  // namespace talvo
