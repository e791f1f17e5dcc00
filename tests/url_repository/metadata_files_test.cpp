// Metadata values as files: where each kind lies, and that each key has one form and one place.
#include "asset_scheme/resolve_info.h"
#include "kernel/data/standard_types.h"
#include "kernel/io/file_utilities.h"
#include "url_repository/url_repository_fixture.h"

namespace talvo {
namespace {

using testing::HasSubstr;

class MetaDataFiles : public UrlRepositoryTest {
protected:
    static constexpr KIND ASSET_LEVEL = KIND::PERSISTENT;
    static constexpr KIND VERSIONED = KIND::PERSISTENT | KIND::VERSIONED;
    static constexpr KIND USER = KIND::PERSISTENT | KIND::USER;
    static constexpr KIND DERIVED = KIND::PERSISTENT | KIND::DERIVED;

    MetaDataFiles() : _repository(Open()), _asset(Store(_repository, "a", "x")) {}

    Result<void> Set(std::string_view key, const char* value, KIND kind) const {
        return _repository->StoreMetaData(_asset, MakeMetaId(key), value ? Data(String(value)) : Data(), kind);
    }
    Result<void> SetFile(std::string_view key, const std::string& name, KIND kind) const {
        return _repository->StoreUrlMetaData(_asset, MakeMetaId(key), name.empty() ? Url() : _scratch.GetUrl() + name, kind);
    }
    /// The files of version 1 beside payload, hash and time.
    std::string Files() const {
        std::string files;
        for (const auto& entry : std::filesystem::directory_iterator(_scratch / "repo/a/1")) {
            const std::string name = entry.path().filename();
            if (name != "asset.txt" && name != "hash" && name != "net.talvo.asset.timestamp.version") _names.push_back(name);
        }
        std::sort(_names.begin(), _names.end());
        for (const std::string& name : _names) files += (files.empty() ? "" : " ") + name;
        _names.clear();
        return files;
    }
    AssetDescription Reload() {
        _asset = nullptr;
        _repository = nullptr;
        _repository = Open();
        return _asset = FindLatest(_repository, MakeId("a"));
    }
    /// Content of the file behind a value that is a meta url.
    std::string ReadFileValue(std::string_view key) const {
        const Opt<Data> value = Need(_asset->GetMetaData()->Get(MakeMetaId(key)));
        const Url* url = value ? value->GetPtr<Url>() : nullptr;
        if (!url) return "(none)";
        const Opt<Url> target = FindResolveTarget(*url);
        return target ? Need(FileUtilities::ReadFileToMemory(*target, 1000)) : "(lost)";
    }

    UpdatableAssetRepositoryRef _repository;
    AssetDescription _asset;
    mutable std::vector<std::string> _names;
};

TEST_F(MetaDataFiles, EachKindHasItsPlace) {
    Need(Set("plain", "1", ASSET_LEVEL));
    Need(Set("own", "2", VERSIONED));
    Need(Set("fixed", "3", VERSIONED | KIND::READ_ONLY));
    Need(Set("fast", "4", DERIVED));
    Need(Set("mine", "5", USER));
    EXPECT_EQ(Files(), "fixed.version own.version plain.meta") << "values of the user make computed ones stale";
    Need(Set("fast", "4", DERIVED));
    EXPECT_EQ(Files(), "fast.derived fixed.version own.version plain.meta");
    EXPECT_EQ(_scratch.List(std::string(USER_TREE)), "a/ a/1/ a/1/mine.meta");
    Reload();
    for (const auto& [key, value] : {std::pair("plain", "1"), {"own", "2"}, {"fixed", "3"}, {"fast", "4"}, {"mine", "5"}}) {
        EXPECT_EQ(GetMeta(_asset, key), value) << key;
    }
    EXPECT_THAT(_scratch.Read("repo/a/1/plain.meta"), HasSubstr("\"root\": \"net.talvo.asset.metadata\""));
}

TEST_F(MetaDataFiles, AnEmptyValueTakesTheFileAway) {
    Need(Set("key", "1", ASSET_LEVEL));
    Need(Set("key", nullptr, ASSET_LEVEL));
    Need(Set("mine", "1", USER));
    Need(Set("mine", nullptr, USER));
    EXPECT_EQ(Files(), "");
    EXPECT_EQ(_scratch.List(std::string(USER_TREE)), "a/ a/1/");
    EXPECT_EQ(GetMeta(Reload(), "key"), "-");
}

TEST_F(MetaDataFiles, KindsThatNoFileStandsForAreRefused) {
    const std::string words = "Illegal argument: Condition !(kind & AssetMetaData::KIND::PERSISTENT) not fulfilled. ";
    for (const UInt32 kind : {3U, 11U, 14U, 19U, 22U, 26U}) {
        EXPECT_THAT(Set("key", "1", KIND(kind)), FailsWith<IllegalArgumentError>(words)) << kind;
    }
    EXPECT_THAT(Set("key", "1", KIND::NONE), Succeeds()) << "stays in memory";
    EXPECT_EQ(Files(), "");
    for (const KIND kind : {DERIVED, USER, KIND::NONE}) {
        EXPECT_THAT(SetFile("key", "payload.txt", kind), FailsWith<IllegalArgumentError>("can't be stored as a file"))
            << UInt32(kind);
    }
}

TEST_F(MetaDataFiles, KeysThatWouldBePayloadsAreRefused) {
    for (const char* key : {"asset", "asset.x", ".x", ""}) {
        EXPECT_THAT(Set(key, "1", ASSET_LEVEL), FailsWith<IllegalArgumentError>("can't be stored")) << key;
    }
    EXPECT_EQ(Files(), "");
}

TEST_F(MetaDataFiles, AValueThatIsAFileIsCopiedAndResolves) {
    _scratch.Write("one.png", "picture");
    Need(SetFile("preview", "one.png", ASSET_LEVEL));
    EXPECT_EQ(Files(), "preview.meta.png");
    EXPECT_EQ(GetMeta(_asset, "preview"), "meta:///a/preview.meta.png?" + HashOf("x"));
    EXPECT_EQ(ReadFileValue("preview"), "picture");
    Reload();
    EXPECT_EQ(GetMeta(_asset, "preview"), "meta:///a/preview.meta.png?" + HashOf("x"));
    EXPECT_EQ(ReadFileValue("preview"), "picture");
}

TEST_F(MetaDataFiles, ANewSuffixReplacesTheOldOneAndNothingElse) {
    _scratch.Write("one.png", "1");
    _scratch.Write("two.jpg", "2");
    _scratch.Write("odd.derived", "3");
    Need(Set("preview.meta", "other key", ASSET_LEVEL));
    Need(Set("previews", "other key", ASSET_LEVEL));
    Need(SetFile("preview", "one.png", ASSET_LEVEL));
    Need(SetFile("preview", "two.jpg", ASSET_LEVEL));
    EXPECT_EQ(Files(), "preview.meta.jpg preview.meta.meta previews.meta");
    Need(SetFile("preview", "odd.derived", ASSET_LEVEL));
    EXPECT_EQ(Files(), "preview.meta.file preview.meta.meta previews.meta");
    Need(SetFile("preview", "", ASSET_LEVEL));
    EXPECT_EQ(Files(), "preview.meta.meta previews.meta");
}

TEST_F(MetaDataFiles, OneKeyHasOneForm) {
    _scratch.Write("one.png", "1");
    Need(Set("key", "text", ASSET_LEVEL));
    Need(SetFile("key", "one.png", ASSET_LEVEL));
    EXPECT_EQ(Files(), "key.meta.png");
    Need(Set("key", "text", ASSET_LEVEL));
    EXPECT_EQ(Files(), "key.meta");
    Need(SetFile("key", "one.png", ASSET_LEVEL));
    Need(Set("key", nullptr, ASSET_LEVEL));
    EXPECT_EQ(Files(), "") << "unsetting takes the file as well";
}

TEST_F(MetaDataFiles, ASourceThatIsItsOwnValueSurvives) {
    _scratch.Write("one.png", "1");
    Need(SetFile("key", "one.png", ASSET_LEVEL));
    Need(SetFile("key", "repo/a/1/key.meta.png", ASSET_LEVEL));
    EXPECT_EQ(ReadFileValue("key"), "1");
    EXPECT_THAT(SetFile("key", "missing.png", ASSET_LEVEL), FailsWith<IoError>("missing.png"));
    EXPECT_EQ(ReadFileValue("key"), "1") << "the old one stays until the new one is whole";
    EXPECT_EQ(Files(), "key.meta.png");
}

TEST_F(MetaDataFiles, ADirectoryIsAValueToo) {
    _scratch.Write("frames/1.png", "1");
    _scratch.Write("frames/sub/2.png", "2");
    Need(SetFile("anim", "frames", VERSIONED));
    Need(SetFile("anim", "frames", VERSIONED));
    EXPECT_EQ(_scratch.List("repo/a/1/anim.version.file"), "1.png sub/ sub/2.png");
    EXPECT_EQ(GetMeta(Reload(), "anim"), "meta:///a/anim.version.file?" + HashOf("x"));
}

TEST_F(MetaDataFiles, FilesAndUserValuesMoveOnToTheNextVersion) {
    _scratch.Write("one.png", "picture");
    Need(SetFile("preview", "one.png", ASSET_LEVEL));
    Need(Set("mine", "5", USER));
    const Asset loaded = Need(_asset->Load(false));
    _asset = Need(_repository->StoreAsset(MakeId("a"), loaded, nullptr));
    EXPECT_EQ(ReadFileValue("preview"), "picture") << "the url was made while the version was hidden";
    EXPECT_EQ(_scratch.Read("repo/a/2/preview.meta.png"), "picture");
    EXPECT_EQ(_scratch.List(USER_TREE), "a/ a/1/ a/1/mine.meta a/2/ a/2/mine.meta");
    Reload();
    EXPECT_EQ(ReadFileValue("preview"), "picture");
    EXPECT_EQ(GetMeta(_asset, "mine"), "5");
    // A copy takes them along as well, and the user's own values of another repository's version of this number stay.
    Need(_repository->CopyAsset(MakeId("b"), _asset, false, false));
    EXPECT_EQ(_scratch.Read("repo/b/1/preview.meta.png"), "picture");
}

TEST_F(MetaDataFiles, ValuesOfTheUserForAnotherRepositorySurviveAStore) {
    _scratch.Write(std::string(USER_TREE) + "/b/1/theirs.meta", "{}");
    Store(_repository, "b", "x");
    EXPECT_EQ(_scratch.Read(std::string(USER_TREE) + "/b/1/theirs.meta"), "{}");
}

TEST_F(MetaDataFiles, AValueThatCannotBeReadStopsTheStoreThatWouldForgetIt) {
    _scratch.Write("one.png", "picture");
    Need(SetFile("preview", "one.png", ASSET_LEVEL));
    const Asset loaded = Need(_asset->Load(false));
    std::filesystem::remove(_scratch / "repo/a/1/preview.meta.png");
    EXPECT_THAT(_repository->StoreAsset(MakeId("a"), loaded, nullptr), FailsWith<IoError>("repo/a/1/preview.meta.png"));
    EXPECT_EQ(_scratch.List("repo/a").find("2/"), std::string::npos);
}

TEST_F(MetaDataFiles, PlainChangesMakeDerivedValuesStaleAndNothingElse) {
    Need(Set("fast", "1", DERIVED));
    Need(Set("own", "2", VERSIONED));
    EXPECT_EQ(Files(), "fast.derived own.version") << "a value of the version is no reason";
    _scratch.Write("repo/a/1/.hidden.derived", "x");
    Need(Set("plain", "3", ASSET_LEVEL));
    EXPECT_EQ(Files(), ".hidden.derived own.version plain.meta");
}

TEST_F(MetaDataFiles, DerivedValuesDoNotOutliveTheApplicationVersion) {
    Need(Set("fast", "1", DERIVED));
    const std::string bytes = _scratch.Read("repo/a/1/fast.derived");
    EXPECT_THAT(bytes, HasSubstr("_" + ToText(Need(Application::GetVersion()).build)));
    EXPECT_EQ(GetMeta(Reload(), "fast"), "1");
    std::string other = bytes;
    const std::string stamp = FormatMessage("@_", Float64(Need(Application::GetVersion()).number) / 1000.0);
    const std::size_t at = other.find(stamp);
    ASSERT_NE(at, std::string::npos);
    for (const std::string& text : {bytes.substr(0, bytes.size() / 2), std::string(), std::string("{}")}) {
        _scratch.Write("repo/a/1/fast.derived", text);
        EXPECT_EQ(GetMeta(Reload(), "fast"), "-") << "a damaged one counts as not there";
    }
    const Data value(std::tuple<Data, CString>(Data(String("1")), CString("0.001_other")));
    Need(IoDocument::WriteDocument(_scratch.GetUrl() + "repo/a/1/fast.derived", value, "net.talvo.asset.metadata"_id,
                                   DOCUMENT_FORMAT::BINARY));
    EXPECT_EQ(GetMeta(Reload(), "fast"), "-") << "another version's stamp";
    Need(IoDocument::WriteDocument(_scratch.GetUrl() + "repo/a/1/fast.derived", Data(String("1")), "net.talvo.asset.metadata"_id,
                                   DOCUMENT_FORMAT::BINARY));
    EXPECT_EQ(GetMeta(Reload(), "fast"), "-") << "no stamp at all";
}

}  // namespace
}  // namespace talvo
