// The texts and names that make up the tree, each read back or refused.
#include "kernel/io/streams.h"
#include "support/asset_test_support.h"
#include "url_repository/asset_directory_name.h"
#include "url_repository/asset_info.h"
#include "url_repository/hash_file.h"
#include "url_repository/metadata_file_name.h"
#include "url_repository/tree_access.h"
#include "url_repository/version_counter.h"
#include "url_repository/version_directory_name.h"

namespace talvo {
namespace {

TEST(AssetDirectoryName, FoldsWhatPeopleRead) {
    const struct {
        const char* id;
        const char* name;
        const char* why;
    } cases[] = {
        {"file_7f3a", "file_7f3a", "nothing to fold"},
        {"Large Steel.Ball-2$", "large_steel.ball-2$", "capitals and blanks"},
        {"d\xc3\xa9j\xc3\xa0/vu", "d__j___vu", "one _ for each byte, the slash too"},
        {"_x", "_x", "an underline in front is no reason to hash"},
    };
    for (const auto& each : cases) EXPECT_EQ(Need(MakeDirectoryName(MakeId(each.id))), each.name) << each.why;
}

TEST(AssetDirectoryName, HashesWhatWouldMeanSomethingElse) {
    const std::string longId(300, 'x');
    for (const std::string& id : {std::string("."), std::string(".."), std::string(".hidden"), std::string("_index"),
                                  std::string("Version"), std::string("databaseid"), std::string("tmp-1"), longId}) {
        const std::string name = Need(MakeDirectoryName(MakeId(id)));
        EXPECT_EQ(name, Need(MakeHashedDirectoryName(MakeId(id)))) << id;
        EXPECT_TRUE(name.starts_with("_" + FoldDirectoryName(id).substr(0, 200) + "-")) << name;
        EXPECT_LE(name.size(), 210U) << id;
    }
    // The format: 8 digits of the SHA-256 of the id, not of its folded text.
    EXPECT_EQ(Need(MakeHashedDirectoryName(MakeId("abc"))), "_abc-ba7816bf");
    EXPECT_NE(Need(MakeHashedDirectoryName(MakeId("Abc"))), Need(MakeHashedDirectoryName(MakeId("abc"))));
}

TEST(AssetInfo, ReadsWhatAnyoneMayHaveWritten) {
    const struct {
        std::string text;
        const char* read;
        const char* why;
    } cases[] = {
        {"a\nt\n", "a|t", "plain"},
        {"a\r\nt\r\n", "a|t", "other line ends"},
        {"a\nt", "a|t", "no end of the last line"},
        {"a\nt\nmore\n", "a|t", "more lines than are known"},
        {"A b\xc3\xa9\nt\n", "A b\xc3\xa9|t", "any text is an id"},
        {"a\nnet.talvo.node.assettype.nodefactory\n", "a|net.talvo.node.assettype.nodetemplate", "the type's old name"},
        {"a\n\n", "a|", "a type that is missing leaves the asset known"},
        {"a\n", "", "one line only"},
        {"", "", "empty"},
        {"\nt\n", "", "no id"},
        {"a\tb\nt\n", "", "a control character"},
        {std::string("a\0b\nt\n", 6), "", "a zero byte"},
        {std::string(std::size_t(Id::MAX_LENGTH) + 1, 'a') + "\nt\n", "", "too long for an id"},
    };
    for (const auto& each : cases) {
        const Opt<AssetInfo> info = ParseAssetInfo(each.text);
        EXPECT_EQ(info ? ToText(info->id) + "|" + ToText(info->type) : "", each.read) << each.why;
    }
    EXPECT_EQ(WriteAssetInfoText({MakeId("a"), MakeId("t")}), "a\nt\n");
}

TEST(HashFile, KeepsASecondLineOnlyForAnotherDigest) {
    const std::string digest(64, 'a');
    EXPECT_EQ(WriteHashText({MakeId(digest), digest}), digest + "\n");
    EXPECT_EQ(WriteHashText({MakeId("v1"), digest}), "v1\n" + digest + "\n");
    const struct {
        std::string text;
        std::string read;
        const char* why;
    } cases[] = {
        {"v1", "v1|", "no line end"},
        {"v1\r\n", "v1|", "another line end"},
        {"v1\n" + digest + "\n", "v1|" + digest, "both lines"},
        {"v1\n" + std::string(64, 'A') + "\n", "v1|" + digest, "capital digits"},
        {"v1\nnot a digest\n", "v1|", "a second line of somebody else"},
        {"", "none", "empty"},
        {"\n", "none", "no id"},
        {"deleted\n", "none", "reserved for deletion marks"},
        {"*\n", "none", "stands for the newest version"},
        {"a\tb\n", "none", "a control character"},
    };
    for (const auto& each : cases) {
        const Opt<HashFile> hash = ParseHashFile(each.text);
        EXPECT_EQ(hash ? ToText(hash->versionId) + "|" + hash->digest : "none", each.read) << each.why;
    }
}

TEST(VersionDirectoryName, ReadsThreeForms) {
    const std::string sha = "0123456789ABCDEFabcd0123456789abcdef0123";
    const struct {
        std::string name;
        std::string read;
        const char* why;
    } cases[] = {
        {"7", "7", "plain"},
        {"0", "0", "zero is a number"},
        {"007", "7 not canonical", "leading zeros"},
        {"9223372036854775807", "9223372036854775807", "the greatest of 63 bits"},
        {"9223372036854775808", "none", "one more"},
        {"99999999999999999999999", "none", "far more"},
        {"12-deleted", "12 deleted", "deletion mark"},
        {"012-deleted", "12 deleted not canonical", "with leading zeros"},
        {"12-DELETED", "none", "case as written"},
        {"-deleted", "none", "no number"},
        {"12-" + sha, "12 0123456789abcdefabcd0123456789abcdef0123", "version id in the name, lowered"},
        {"-" + sha, "none", "no number"},
        {"x-" + sha, "none", "not a number"},
        {"+7", "none", "a sign"},
        {"-7", "none", "a sign"},
        {" 7", "none", "a blank"},
        {"7x", "none", "more than a number"},
        {"7-", "none", "unfinished"},
        {"", "none", "nothing"},
    };
    for (const auto& each : cases) {
        const Opt<VersionDirectoryName> name = ParseVersionDirectoryName(each.name);
        std::string read = name ? std::to_string(name->number) : "none";
        if (name && name->form == VersionDirectoryName::FORM::DELETED) read += " deleted";
        if (name && name->form == VersionDirectoryName::FORM::WITH_VERSION_ID) read += " " + name->versionId;
        if (name && !name->canonical) read += " not canonical";
        EXPECT_EQ(read, each.read) << each.why;
    }
}

TEST(MetaDataFileName, TellsKindAndFormByTheEndOfTheName) {
    const struct {
        const char* name;
        const char* read;
        const char* why;
    } cases[] = {
        {"key.meta", "key 2", "value of the asset"},
        {"key.version", "key 6", "value of the version"},
        {"key.derived", "key 10", "computed"},
        {"net.talvo.asset.timestamp.version", "net.talvo.asset.timestamp 7", "the time is fixed"},
        {"key.meta.png", "key 2 file", "a picture"},
        {"a.b.version.tar", "a.b 6 file", "a key with dots"},
        {"key.meta.meta", "key.meta 2", "the whole suffix first"},
        {"key.meta.tar.gz", "none", "one suffix is cut, not two"},
        {"key", "none", "no dot"},
        {"key.txt", "none", "another suffix"},
        {"hash", "none", "no metadata"},
        {".meta", "none", "hidden"},
        {"asset.meta", "none", "a payload"},
        {"asset.x.version", "none", "a payload too"},
    };
    for (const auto& each : cases) {
        const Opt<MetaDataFileName> name = ParseMetaDataFileName(each.name);
        std::string read = name ? name->key + " " + std::to_string(UInt32(name->kind)) : "none";
        if (name && name->form == MetaDataFileName::FORM::FILE) read += " file";
        EXPECT_EQ(read, each.read) << each.name << ": " << each.why;
    }
}

TEST(MetaDataFileName, SuffixesThatWouldNotReadBackBecomeFile) {
    const auto kind = ASSET_METADATA_KIND::PERSISTENT;
    EXPECT_EQ(MakeMetaDataFileName("key", kind, "PNG"), "key.meta.PNG");
    for (const std::string& odd : {std::string(), std::string("meta"), std::string("version"), std::string("derived"),
                                   std::string("a/b"), std::string("a\nb"), std::string(250, 'x')}) {
        EXPECT_EQ(MakeMetaDataFileName("key", kind, odd), "key.meta.file") << odd;
    }
}

TEST(MetaDataFileName, KeysThatWouldBeTakenForSomethingElseAreRefused) {
    for (const char* key : {"asset", "asset.x", ".x", "a/b", "a\nb"}) {
        EXPECT_THAT(CheckStorableKey(MakeMetaId(key)), FailsWith<IllegalArgumentError>("can't be stored")) << key;
    }
    EXPECT_THAT(CheckStorableKey(InternedId()), FailsWith<IllegalArgumentError>("can't be stored"));
    for (const char* key : {"a", "assets", "version", "hash", "x.meta"})
        EXPECT_THAT(CheckStorableKey(MakeMetaId(key)), Succeeds()) << key;
}

TEST(VersionCounterFile, AnythingElseThanANumberCountsAsZero) {
    const std::pair<const char*, UInt> cases[] = {{"12\n", 12},
                                                  {"12", 12},
                                                  {"12\r\n", 12},
                                                  {"12\n99\n", 12},
                                                  {"", 0},
                                                  {"\n", 0},
                                                  {"12x\n", 0},
                                                  {" 12", 0},
                                                  {"-1\n", 0},
                                                  {"99999999999999999999\n", 0},
                                                  {"9223372036854775808\n", 0}};
    for (const auto& [text, value] : cases) EXPECT_EQ(FindVersionCounter(text).value_or(0), value) << text;
}

TEST(TreeAccess, OnlyNamesOfOurOwnMakingAreWork) {
    EXPECT_TRUE(IsWorkName(MakeReservationName(12)));
    EXPECT_TRUE(IsWorkName(Need(MakeWorkName())));
    for (const char* name : {".~", ".~lock.asset.odt#", ".hidden", "~1", ".~1x", ".~123456781234123412341234567890ab"}) {
        EXPECT_FALSE(IsWorkName(name)) << name;
    }
}

TEST(TreeAccess, KnowsWhatLiesBelowTheRoot) {
    const Url root = Url::FromSystemPath("/a/repo");
    EXPECT_TRUE(IsBelow(root, root + "x"));
    EXPECT_TRUE(IsBelow(root, root + "x" + "1"));
    EXPECT_FALSE(IsBelow(root, root)) << "the root itself";
    EXPECT_FALSE(IsBelow(root, Url::FromSystemPath("/a/repository/x"))) << "a neighbour whose name begins alike";
    EXPECT_FALSE(IsBelow(root, Url::FromSystemPath("/a/other/x")));
    EXPECT_FALSE(IsBelow(root, Url::Create(URLSCHEME_FILESYSTEM, {}, "/a/repo/../other"))) << "up again";
    EXPECT_FALSE(IsBelow(root, Url::Create(URLSCHEME_MEMORY, {}, "/a/repo/x"))) << "another scheme";
    const Url volume = Url::Create(URLSCHEME_MEMORY, "v", "");
    EXPECT_TRUE(IsBelow(volume, volume + "x"));
    EXPECT_FALSE(IsBelow(volume, Url::Create(URLSCHEME_MEMORY, "w", "x"))) << "another volume";
}

}  // namespace
}  // namespace talvo
