#include "kernel/io/url.h"

#include "kernel/io/connection.h"
#include "support/result_matchers.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace talvo {
namespace {

constexpr LiteralId ASSET{"asset"};

std::string MakeBytes(std::mt19937& random, std::string_view favourites) {
    std::string bytes(random() % 24, '\0');
    for (char& c : bytes) c = random() % 2 ? favourites[random() % favourites.size()] : char(random());
    return bytes;
}

Url MakeUrl(std::mt19937& random, int depth) {
    constexpr std::string_view FAVOURITES = "/?#%[]:@ a.~+\n";
    const Id scheme = random() % 3 ? Id(ASSET) : Id(URLSCHEME_FILESYSTEM);
    Url url = Url::Create(scheme, MakeBytes(random, FAVOURITES), MakeBytes(random, FAVOURITES));
    if (depth > 0 && random() % 2) url.SetEmbeddedUrl(MakeUrl(random, depth - 1));
    if (random() % 2) url.SetData(URLFLAGS::QUERY, Data(String(MakeBytes(random, FAVOURITES))));
    return url;
}

TEST(UrlText, ReadsBackAsTheSameUrlWhateverItsBytes) {
    std::mt19937 random(20240611);
    for (int round = 0; round < 3000; ++round) {
        const Url url = MakeUrl(random, 3);
        const std::string text = url.GetUrl();
        const Result<Url> read = Url::Parse(text);
        ASSERT_TRUE(Succeeds(read)) << text;
        ASSERT_EQ(read.GetValue(), url) << text << " became " << read.GetValue().GetUrl();
        ASSERT_EQ(read.GetValue().GetHashCode(), url.GetHashCode()) << text;
        ASSERT_EQ(text.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~!$&'()*+,;=:@/?%[]"),
                  std::string::npos)
            << text;
    }
}

TEST(UrlText, HasTheFormThatOthersReadAndWrite) {
    const struct {
        const char* text;
        Id scheme;
        const char* authority;
        const char* path;
        const char* query;
        const char* why;
    } cases[] = {
        {"file:///tmp/a%20b", URLSCHEME_FILESYSTEM, "", "/tmp/a b", "", "the path of a file keeps its first slash"},
        {"asset:///net.talvo.chair?v1", ASSET, "", "net.talvo.chair", "v1", "the id is the first component"},
        {"asset:////x", ASSET, "", "/x", "", "a path of another scheme keeps one beyond the usual"},
        {"ramdisk://0a/b//c/", URLSCHEME_MEMORY, "0a", "b//c/", "", "empty components stay"},
        {"asset://host:80/", ASSET, "host:80", "", "", "nothing but an authority"},
        {"asset:///a%3Fb%23c%25?q?r/s", ASSET, "", "a?b#c%", "q?r/s", "only the first question mark divides"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        const Result<Url> url = Url::Parse(c.text);
        ASSERT_TRUE(Succeeds(url));
        EXPECT_EQ(url.GetValue().GetScheme(), c.scheme);
        EXPECT_EQ(url.GetValue().GetAuthority(), c.authority);
        EXPECT_EQ(url.GetValue().GetPath(), c.path);
        EXPECT_EQ(url.GetValue().GetData<String>(URLFLAGS::QUERY).value_or(String()), String(c.query));
        EXPECT_EQ(url.GetValue().GetUrl(), c.text);
    }
    EXPECT_EQ(Url::Parse("FILE:/tmp//x/").GetValue().GetUrl(), "file:///tmp/x") << "what people write";
    EXPECT_EQ(Url::Parse("asset:///100%?").GetValue().GetPath(), "100%") << "a lonely % stands for itself";
}

TEST(UrlText, RefusesWhatIsNoUrl) {
    for (const char* text : {"", "plain", "/tmp/x", ":x", "1a:x", "a b:x"}) {
        EXPECT_TRUE(FailsWith<IllegalArgumentError>(Url::Parse(text), {text, "file:///"})) << text;
    }
    Url nested = Url::Create(ASSET, "", "x");
    for (int i = 0; i < 20; ++i) {
        Url outer = Url::Create(ASSET, "", "x");
        outer.SetEmbeddedUrl(nested);
        nested = outer;
    }
    EXPECT_TRUE(FailsWith<IllegalArgumentError>(Url::Parse(nested.GetUrl()), {"at most 8"}));
}

TEST(UrlName, SuffixIsWhatStandsBehindTheLastDot) {
    const struct {
        const char* name;
        const char* suffix;
        const char* withTxt;
        const char* cleared;
    } cases[] = {
        {"a.obj", "obj", "a.txt", "a"},
        {"a", "", "a.txt", "a"},
        {"a.tar.GZ", "GZ", "a.tar.txt", "a.tar"},
        {".hidden", "", ".hidden.txt", ".hidden"},
        {".hidden.x", "x", ".hidden.txt", ".hidden"},
        {"a.", "", "a.txt", "a"},
        {"..", "", "..", ".."},
        {".", "", ".", "."},
    };
    for (const auto& c : cases) {
        Url url = Url::Create(ASSET, "", std::string("dir.d/") + c.name);
        EXPECT_EQ(url.GetSuffix(), c.suffix) << c.name;
        url.SetSuffix("txt");
        EXPECT_EQ(url.GetName(), c.withTxt) << c.name;
        url = Url::Create(ASSET, "", std::string("dir.d/") + c.name);
        url.ClearSuffix();
        EXPECT_EQ(url.GetPath(), std::string("dir.d/") + c.cleared);
    }
    EXPECT_TRUE(Url::Create(ASSET, "", "a.OBJ").CheckSuffix("obj"));
    EXPECT_FALSE(Url::Create(ASSET, "", "a.obj").CheckSuffix("ob"));
    Url empty = Url::Create(ASSET, "", "");
    empty.SetSuffix("txt");
    EXPECT_EQ(empty.GetPath(), "") << "no name, no suffix";
}

TEST(UrlName, ComponentsAreAddedAndTakenAway) {
    Url url = Url::FromSystemPath("/");
    EXPECT_EQ(url.GetName(), "");
    url.Append("a").Append("b/c").Append("");
    EXPECT_EQ(url.GetPath(), "/a/b/c");
    EXPECT_EQ(url.GetDirectory().GetPath(), "/a/b");
    url.SetName("d");
    EXPECT_EQ(url.GetPath(), "/a/b/d");
    EXPECT_EQ(url.GetComponents(), (BaseArray<std::string>{"a", "b", "d"}));
    for (int i = 0; i < 5; ++i) url.RemoveName();
    EXPECT_EQ(url.GetPath(), "/");

    Url id = Url::Create(ASSET, "", "id");
    EXPECT_EQ((id + "meta").GetPath(), "id/meta");
    EXPECT_EQ(id.GetDirectory().GetPath(), "");
    EXPECT_EQ(Url::Create(ASSET, "", "a//b/").GetName(), "b");
    url = Url::Create(ASSET, "", "a/b.c");
    url.Append(url.GetName());
    EXPECT_EQ(url.GetPath(), "a/b.c/b.c") << "a view of itself";
}

TEST(UrlSystemPath, MakesPathsAbsoluteAndLeavesDotDotAlone) {
    const std::string here(Url::FromSystemPath(".").GetPath());
    EXPECT_TRUE(here.starts_with('/'));
    EXPECT_EQ(Url::FromSystemPath("./a//b/./c/").GetPath(), here + "/a/b/c");
    EXPECT_EQ(Url::FromSystemPath("//a/../b").GetPath(), "/a/../b") << "a may be a link";
    EXPECT_TRUE(Url::FromSystemPath("").IsEmpty()) << "an empty argument is not the working directory";
    EXPECT_EQ(Url::FromSystemPath("/\xff\xfe").GetSystemPath().GetValue(), "/\xff\xfe");
    EXPECT_EQ(Url::FromSystemPath("/\xff").ToString(), String("/\xef\xbf\xbd")) << "for display only";

    EXPECT_TRUE(FailsWith<IllegalArgumentError>(Url::Create(ASSET, "", "x").GetSystemPath(), {"asset:///x"}));
    EXPECT_TRUE(FailsWith<IllegalArgumentError>(Url::Parse("file://tmp/x").GetValue().GetSystemPath(), {"file:///"}))
        << "a slash forgotten must not mean /x";
    EXPECT_TRUE(FailsWith<IllegalArgumentError>(Url::Parse("file:///a%00b").GetValue().GetSystemPath(), {"NUL"}))
        << "the system would cut it short and take another file";
}

TEST(UrlSideData, OnlyTheQueryCounts) {
    const Url plain = Url::Create(ASSET, "", "id");
    Url url = plain;
    url.SetData(URLFLAGS::ORIGINURL, Data(Url::FromSystemPath("/x")));
    EXPECT_EQ(url, plain);
    EXPECT_EQ(url.GetHashCode(), plain.GetHashCode());
    EXPECT_EQ(url.GetData<Url>(URLFLAGS::ORIGINURL)->GetPath(), "/x");
    EXPECT_FALSE(plain.FindData(URLFLAGS::ORIGINURL)) << "copies are apart";
    EXPECT_FALSE(url.GetData<String>(URLFLAGS::ORIGINURL).has_value()) << "of another type";

    url.SetData(URLFLAGS::QUERY, Data(String("v1")));
    EXPECT_FALSE(url == plain);
    EXPECT_EQ(url.GetUrl(), "asset:///id?v1");
    url.SetData(URLFLAGS::QUERY, Data(String()));
    EXPECT_EQ(url, plain) << "an empty query is none";
    url.EraseData(URLFLAGS::QUERY);
    EXPECT_EQ(url, plain);

    Url self = plain;
    self.SetData(URLFLAGS::ORIGINURL, Data(self));
    self.SetEmbeddedUrl(self);
    EXPECT_EQ(self.GetEmbeddedUrl(), plain) << "a value, never a cycle";
}

TEST(UrlSideData, DocumentsHoldTextOnly) {
    Url url = Url::FromSystemPath("/a b");
    url.SetData(URLFLAGS::WATCHFOLDERSTRING, Data(String("x")));
    const DocumentValue value = Data(url).ToDocument().GetValue();
    const Data read = Data::FromDocument(value).GetValue();
    ASSERT_TRUE(read.GetPtr<Url>());
    EXPECT_EQ(*read.GetPtr<Url>(), url);
    EXPECT_FALSE(read.GetPtr<Url>()->FindData(URLFLAGS::WATCHFOLDERSTRING));
    EXPECT_TRUE(DataTraits<Url>::FromDocument(DataTraits<Url>::ToDocument(Url()).GetValue()).GetValue().IsEmpty());
    EXPECT_TRUE(FailsWith<FileFormatError>(DataTraits<Url>::FromDocument(DocumentValue("no url")), {"no url"}));
}

TEST(UrlConnection, SchemesWithoutHandlerAreNamed) {
    EXPECT_TRUE(FailsWith<UnsupportedArgumentError>(Url::Create("nobody"_id, "", "x").OpenConnection(),
                                                    {"No handler for urls of the scheme nobody."}));
    EXPECT_TRUE(FailsWith<IllegalArgumentError>(Url().OpenConnection()));
    EXPECT_EQ(Url::Create("nobody"_id, "", "x").IoDetect(), IO_DETECT::FAILED);
    EXPECT_TRUE(FailsWith<IllegalStateError>(
        IoHandlers::Register(IoHandlers::GetHandlerForScheme(URLSCHEME_FILESYSTEM).GetValue()), {"file"}));
}

/// Urls `step:///<n>` stand for `step:///<n-1>`, down to 0.
class StepHandler final : public IoHandler {
public:
    Id GetUrlScheme() const override { return "step"_id; }
    Result<IoConnectionRef> OpenConnection(const Url&) override { return UnsupportedOperationError::Create("closed"); }
    Result<Url> Normalize(const Url& url, NORMALIZE) override {
        const int number = std::stoi(std::string(url.GetPath()));
        return Url::Create("step"_id, "", std::to_string(std::max(number - 1, 0)));
    }
};

TEST(UrlHandler, StepsAreTakenOneByOneOrToTheEnd) {
    ASSERT_TRUE(IoHandlers::Register(IoHandlerRef(new StepHandler)).IsOk());
    const auto from = [](const char* number) { return Url::Create("step"_id, "", number); };
    EXPECT_EQ(from("9").Normalize(NORMALIZE::NONE).GetValue(), from("9"));
    EXPECT_EQ(from("9").Normalize(NORMALIZE::REAL).GetValue(), from("8"));
    EXPECT_EQ(from("16").IoNormalize(NORMALIZE::REAL_WHOLLY).GetValue(), from("0"));
    EXPECT_TRUE(
        FailsWith<IoError>(from("17").Normalize(NORMALIZE::REAL | NORMALIZE::REAL_WHOLLY), {"step:///17", "without an end"}));
    EXPECT_EQ(from("9").GetChild("a").GetValue().GetPath(), "9/a");
    EXPECT_EQ(from("9").GetChild(from("8/a")).GetValue().GetParent().GetValue().GetPath(), "9/8");
    EXPECT_EQ(Url::FromSystemPath("/a/b").ConvertToUiName(UI_NAME::PLAIN).GetValue(), "/a/b");
    IoHandlers::Unregister("step"_id);
}

}  // namespace
}  // namespace talvo
