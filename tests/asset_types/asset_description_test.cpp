#include "asset_types/asset_description_impl.h"

#include "assets/asset_type.h"
#include "memoryassetrepository.h"
#include "support/asset_test_support.h"

namespace talvo {

namespace {

BaseAssetRepositoryRef MakeRepository(const Id& id) {
    return Need(MemoryAssetRepository::Create(id, {}, MemoryAssetRepository::ACCESS::WRITABLE));
}

/// A second description of what `known` describes, which knows no url.
AssetDescription MakeBare(const AssetRepositoryRef& repository, const AssetDescription& known, const Id& version) {
    AssetDescription::Parts parts;
    parts.type = known->GetTypeId();
    parts.identity = {known->GetIdAndVersion().first, version};
    parts.metaData = known->GetMetaData();
    return Need(AssetDescription::Create(repository, std::move(parts)));
}

constexpr LiteralId EMPTY_TYPE{"net.talvo.test.assettype.empty"};

/// A type that breaks its word: it loads nothing and calls that a success.
class EmptyType final : public AssetTypeBase {
public:
    const Id& GetId() const override { return EMPTY_TYPE; }
    const Id& GetAssetDataType() const override { return EMPTY_TYPE; }
    Result<Asset> Load(const AssetRepositoryRef&, const AssetDescription&, const Url&, Bool) const override { return Asset(); }
    Result<AssetStoreMetaData> Store(const Asset&, const Url&, const AssetHashStream&, std::string&) const override {
        return AssetStoreMetaData();
    }
};

constexpr LiteralId NESTED_TYPE{"net.talvo.test.assettype.nested"};

/// A type that, while it loads a version, loads it once more: what happens when two threads load at once, in a fixed order.
class NestedType final : public AssetTypeBase {
public:
    const Id& GetId() const override { return NESTED_TYPE; }
    const Id& GetAssetDataType() const override { return NESTED_TYPE; }
    Result<Asset> Load(const AssetRepositoryRef&, const AssetDescription& description, const Url&,
                       Bool updateLinks) const override {
        if (++calls == 1) inner = TRY(description->Load(updateLinks));
        return MakeNote("text", {});
    }
    Result<AssetStoreMetaData> Store(const Asset&, const Url&, const AssetHashStream&, std::string&) const override {
        return AssetStoreMetaData();
    }
    mutable Int calls = 0;
    mutable Asset inner;
};

}  // namespace

TEST(AssetDescription, ofTwoLoadsAtOnceTheFirstToEndIsTheAssetForBoth) {
    const auto type = StrongRef<NestedType>::Create();
    Need(GetAssetTypes().Register(NESTED_TYPE, AssetType(StrongRef<AssetTypeInterface>(type))));
    AssetDescription::Parts parts;
    parts.type = NESTED_TYPE;
    parts.identity = {"nested"_id, "1"_id};
    parts.url = Url::FromSystemPath("/anywhere");
    const AssetDescription description = Need(AssetDescription::Create(nullptr, std::move(parts)));
    EXPECT_EQ(Need(description->Load(false)), type->inner);
    EXPECT_EQ(type->calls, 2);
    EXPECT_EQ(Need(description->Load(false)), type->inner);
    Need(GetAssetTypes().EraseEntry(NESTED_TYPE));
}

TEST(AssetDescription, findsItsUrlOnceThroughTheRepository) {
    auto repository = MakeRepository("repository"_id);
    const AssetDescription stored = Need(repository->StoreAsset("note"_id, MakeNote("one", {}), nullptr));
    const Url url = NeedRef(stored->GetUrl());
    const AssetDescription bare = MakeBare(repository, stored, stored->GetIdAndVersion().second);
    const AssetDescription newest = MakeBare(repository, stored, g_newVersion);
    const AssetDescription unasked = MakeBare(repository, stored, stored->GetIdAndVersion().second);
    const AssetDescription unknown = MakeBare(repository, stored, "none"_id);
    EXPECT_EQ(NeedRef(bare->GetUrl()), url);
    EXPECT_EQ(NeedRef(newest->GetUrl()), url) << "the newest version's";
    EXPECT_TRUE(NeedRef(unknown->GetUrl()).IsEmpty()) << "a version that isn't there has no content";
    repository = nullptr;
    EXPECT_EQ(NeedRef(bare->GetUrl()), url) << "known now, with no look-up";
    EXPECT_THAT(unasked->GetUrl(), FailsWith<NullptrError>("note/v1"));
}

TEST(AssetDescription, cachesBothWaysOfLoadingApart) {
    const auto repository = MakeRepository("repository"_id);
    const AssetDescription stored = Need(repository->StoreAsset("note"_id, MakeNote("one", {}), nullptr));
    const AssetDescription fresh = MakeBare(repository, stored, stored->GetIdAndVersion().second);
    const Int loads = GetNoteLoadCount();
    const Asset plain = Need(fresh->Load(false));
    const Asset withLinks = Need(fresh->Load(true));
    EXPECT_NE(plain, withLinks);
    EXPECT_EQ(Need(fresh->Load(false)), plain);
    EXPECT_EQ(Need(fresh->Load(true)), withLinks);
    EXPECT_EQ(GetNoteLoadCount(), loads + 2);
    EXPECT_EQ(plain->GetUpdate(), 0);
    EXPECT_EQ(withLinks->GetUpdate(), 1);
    EXPECT_FALSE(plain.IsEqual(withLinks));
    EXPECT_EQ(plain->GetIdAndVersion(), stored->GetIdAndVersion());
    EXPECT_EQ(plain->GetRepository(), repository);
}

TEST(AssetDescription, loadsTheNewestVersionAsAnObjectOfItsOwn) {
    const auto repository = MakeRepository("repository"_id);
    const AssetDescription stored = Need(repository->StoreAsset("note"_id, MakeNote("one", {}), nullptr));
    const AssetDescription newest = MakeBare(repository, stored, g_newVersion);
    const Asset loaded = Need(newest->Load(false));
    EXPECT_EQ(loaded->GetIdAndVersion(), stored->GetIdAndVersion()) << "it bears the version that was found";
    EXPECT_NE(loaded, Need(stored->Load(false))) << "the cached object of the version stays as it is";
    const AssetDescription nowhere = [&] {
        AssetDescription::Parts parts;
        parts.identity = {"none"_id, g_newVersion};
        return Need(AssetDescription::Create(repository, std::move(parts)));
    }();
    EXPECT_THAT(nowhere->Load(false), FailsWith<IllegalStateError>("Can't load asset for none/*."));
}

TEST(AssetDescription, saysWhyItCanNotBeLoaded) {
    const auto repository = MakeRepository("repository"_id);
    const AssetDescription stored = Need(repository->StoreAsset("note"_id, MakeNote("one", {}), nullptr));
    const auto make = [&](const Id& type, const Url& url, const AssetMetaData& metaData) {
        AssetDescription::Parts parts;
        parts.type = type;
        parts.identity = {"odd"_id, "1"_id};
        parts.url = url;
        parts.metaData = metaData;
        return Need(AssetDescription::Create(repository, std::move(parts)));
    };
    const Url url = NeedRef(stored->GetUrl());
    const AssetMetaData later =
        MakeMetaData(ASSETMETADATA::VALIDVERSION, Data(AssetVersionRange(1e6, 0)), ASSET_METADATA_KIND(6));
    EXPECT_THAT(make("some.type"_id, url, nullptr)->Load(false), FailsWith<IllegalStateError>("Unknown asset type some.type."));
    EXPECT_THAT(make(ASSETTYPE_NOTE, Url(), nullptr)->Load(false), FailsWith<IllegalStateError>("Empty Url for asset odd/1."));
    EXPECT_THAT(make(ASSETTYPE_NOTE, url, later)->Load(false),
                FailsWith<IllegalStateError>("Asset not valid for this app version."));
    Need(GetAssetTypes().Register(EMPTY_TYPE, AssetType(StrongRef<AssetTypeInterface>(new EmptyType))));
    EXPECT_THAT(make(EMPTY_TYPE, url, nullptr)->Load(false),
                FailsWith<UnexpectedError>("Assertion failed: Condition loaded not fulfilled. "));
    Need(GetAssetTypes().EraseEntry(EMPTY_TYPE));
}

TEST(AssetDescription, isEqualByIdentityWhateverItsRepository) {
    const auto first = MakeRepository("first"_id);
    const auto second = MakeRepository("second"_id);
    const AssetDescription one = Need(first->StoreAsset("note"_id, MakeNote("one", {}), nullptr));
    const AssetDescription same = Need(second->StoreAsset("note"_id, MakeNote("two", {}), nullptr));
    const AssetDescription other = Need(second->StoreAsset("note"_id, MakeNote("two", {}), nullptr));
    EXPECT_TRUE(one.IsEqual(same));
    EXPECT_FALSE(same.IsEqual(other)) << "another version";
    EXPECT_FALSE(one.IsEqual(AssetDescription()));
    EXPECT_TRUE(AssetDescription().IsEqual(AssetDescription()));
    EXPECT_EQ(AssetDescription().GetVersionKey(), AssetVersionKey());
}

TEST(AssetVersionKey, ordersByTimeThenOriginThenCounterUnsigned) {
    constexpr UInt HIGH = UInt(1) << 63;
    const AssetVersionKey ascending[] = {
        {}, {1, 9, 1}, {1, 1, 2}, {1, 2, 2}, {1, HIGH, 2}, {1, 0, HIGH}, {2, 0, 0}, {HIGH - 2, 0, 0}, AssetVersionKey::GetMax()};
    for (std::size_t i = 1; i < std::size(ascending); ++i) EXPECT_LT(ascending[i - 1], ascending[i]) << i;
}

// The engine replaces the form with links while others load it.
TEST(AssetDescriptionImpl, replacesTheFormWithLinksKnowingTheOldOne) {
    const auto repository = MakeRepository("repository"_id);
    const AssetDescription stored = Need(repository->StoreAsset("note"_id, MakeNote("one", {}), nullptr));
    const Asset plain = Need(stored->Load(false));
    const Asset withLinks = Need(stored->Load(true));
    const Asset fresh = MakeNote("two", {});
    Asset seen;
    AssetDescriptionImpl::Of(stored).ReplaceLoadedWithLinks([&](const Asset& old) {
        seen = old;
        return fresh;
    });
    EXPECT_EQ(seen, withLinks);
    EXPECT_EQ(Need(stored->Load(true)), fresh);
    EXPECT_EQ(Need(stored->Load(false)), plain);
}

}  // namespace talvo
