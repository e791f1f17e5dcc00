// Ids and keys that mean something to a file system, to a reader or to people: each comes back from disk, or was refused by name.
#include "url_repository/url_repository_fixture.h"

#include <set>

namespace talvo {
namespace {

using namespace std::string_literals;

/// At least 200 texts, no two alike.
std::vector<std::string> MakeHostileTexts() {
    std::set<std::string> texts = {
        // Steps, and names that are ours or a system's.
        ".",
        "..",
        "...",
        ".a",
        "a.",
        "..a",
        "/",
        "//",
        "/etc/passwd",
        "../../x",
        "a/../../b",
        "./a",
        "a/./b",
        "a//b",
        "..\\..",
        "C:\\x",
        "\\\\server\\x",
        "_index",
        "_INDEX",
        "version",
        "VERSION",
        "databaseid",
        "tmp-",
        "tmp-1",
        "Tmp-1",
        "asset",
        "asset.",
        "asset.info",
        "asset.meta",
        "hash",
        "key.meta",
        "key.version",
        "key.derived",
        "deleted",
        "*",
        ".~1",
        "~",
        "~root",
        "con",
        "NUL",
        "aux.txt",
        "lpt1",
        "-",
        "--",
        "-rf",
        "null",
        "file:///etc/passwd",
        "asset:///a",
        "a?=b",
        "a#=b",
        "$HOME",
        "`id`",
        // Folding alike.
        "a b",
        "a/b",
        "a_b",
        "a:b",
        "A_B",
        "a|b",
        "\xc3\x84",
        "A\xcc\x88",
        "\xc3\xa4",
        "a\xcc\x88",
        "\xc3\x9f",
        "ss",
        "SS",
        "\xe1\xba\x9e",
        "I",
        "i",
        "\xc4\xb0",
        "\xc4\xb1",
        "\xef\xac\x81",
        "fi",
        "\xce\xa3",
        "\xcf\x82",
        "\xcf\x83",
        // Blanks.
        " ",
        "  ",
        " a",
        "a ",
        " .",
        "\xc2\xa0",
        "\xe2\x80\x8b",
        "\xe3\x80\x80",
        // Escapes that something might undo.
        "%",
        "%%",
        "%2f",
        "%2e%2e%2f",
        "%00",
        "%s%n",
        "&amp;",
        "\\n",
        "\\u0000",
        "@",
        "@{x}",
        "{}",
        // Text that hides or turns, and what only looks like UTF-8.
        "\xe2\x80\xae"
        "cod.exe",
        "\xef\xbb\xbf"
        "a",
        "\xe2\x80\xa8",
        "\xef\xbf\xbf",
        "\xf0\x9f\x92\xa3",
        "\xc0\xaf",
        "\xc0\x80",
        "\xe0\x80\xaf",
        "\xed\xa0\x80",
        "\xf4\x90\x80\x80",
        "\xff\xfe",
        "\xc3",
        "\xe2\x80",
        "a\x80",
        "\xf8\x88\x80\x80\x80",
        // A directory name that another id of these gets.
        "_a_b-c8687a08",
        "_.-cdb4ee2a",
        "a\r\nb"s,
        "a\0b"s,
        "\0"s,
    };
    for (int c = 1; c < 0x80; ++c) {
        const char character = static_cast<char>(c);
        if (!std::isalnum(c)) texts.insert("x"s + character + "y");
    }
    for (int c = 0x80; c < 0x100; c += 8) texts.insert("x"s + static_cast<char>(c));
    for (const std::size_t length : {199, 200, 201, 210, 211, 249, 250, 251, 255, 256, 4096, 65536})
        texts.insert(std::string(length, 'l'));
    texts.insert(std::string(300, '/'));
    texts.insert(std::string(200, '\xff'));
    texts.insert(std::string(201, '.'));
    return {texts.begin(), texts.end()};
}

class HostileIds : public UrlRepositoryTest {
protected:
    HostileIds() { _scratch.Write("canary/deep/file", "untouched"); }
    ~HostileIds() override {
        EXPECT_EQ(_scratch.Read("canary/deep/file"), "untouched");
        EXPECT_EQ(_scratch.List("canary"), "deep/ deep/file");
        for (const auto& entry : std::filesystem::directory_iterator(_scratch.GetPath())) {
            const std::string name = entry.path().filename();
            EXPECT_TRUE(name == "canary" || name == "home" || name == "repo" || name == "payload.txt") << name;
        }
        const auto report = [](const RepositoryFinding& finding) -> Result<Bool> {
            ADD_FAILURE() << ToText(finding.path) << ": " << ToText(finding.explanation);
            return true;
        };
        EXPECT_THAT(RepositoryMaintenance::Verify(GetRoot(), 2, report), Succeeds());
    }
    static std::string Show(std::string_view text) { return testing::PrintToString(std::string(text.substr(0, 60))); }
    /// The error is about this text: it says it, or what of it can be shown.
    static void ExpectRefused(const ErrorRef& error, const std::string& text) {
        EXPECT_FALSE(UnexpectedError::IsClassOf(error)) << error->GetMessage();
        EXPECT_TRUE(IsUtf8(error->GetMessage())) << error->GetMessage();
        EXPECT_LT(error->GetMessage().size(), 2000U) << "a hostile text doesn't flood the log";
        const auto isControl = [](char c) { return static_cast<UChar>(c) < 0x20 || c == 0x7f; };
        const auto plainEnd = std::find_if(text.begin(), text.end(), isControl);
        const std::string shown = MakeUtf8(std::string(text.begin(), plainEnd));
        EXPECT_NE(error->GetMessage().find(shown.substr(0, 40)), std::string::npos) << error->GetMessage();
    }
};

Bool HasControl(const std::string& text) {
    return std::any_of(text.begin(), text.end(), [](char c) { return static_cast<UChar>(c) < 0x20 || c == 0x7f; });
}

TEST_F(HostileIds, ComeBackFromDiskOrAreRefusedByName) {
    const std::vector<std::string> texts = MakeHostileTexts();
    ASSERT_GE(texts.size(), 200U);
    std::map<std::string, std::string> stored;
    {
        const auto repository = Open();
        for (const std::string& text : texts) {
            SCOPED_TRACE(Show(text));
            const std::string bytes = "content of " + text;
            const Result<AssetDescription> result = repository->StoreAsset(MakeId(text), File(bytes), nullptr);
            // The last is an id whose two directory names are both taken by others.
            EXPECT_EQ(result.IsError(), HasControl(text) || text == "a b") << "nothing else is refused";
            if (result.IsError()) ExpectRefused(result.GetError(), text);
            if (result.IsOk()) stored[text] = bytes;
        }
    }
    const auto repository = Open();
    EXPECT_EQ(IdsOf(repository).size(), stored.size());
    for (const auto& [text, bytes] : stored) {
        SCOPED_TRACE(Show(text));
        const AssetDescription found = FindLatest(repository, MakeId(text));
        ASSERT_TRUE(Bool(found));
        EXPECT_EQ(found->GetIdAndVersion().first, MakeId(text));
        EXPECT_EQ(ReadPayload(found), bytes);
    }
}

TEST_F(HostileIds, TheLongestIdIsKeptAndALongerOneIsNone) {
    const std::string longest(Id::MAX_LENGTH, 'l');
    Store(Open(), longest, "long");
    EXPECT_EQ(ReadPayload(FindLatest(Open(), MakeId(longest))), "long");
    EXPECT_THAT(Id::Create(longest + "l"), FailsWith<IllegalArgumentError>("1048575"));
}

TEST_F(HostileIds, KeysOfValuesComeBackFromDiskOrAreRefusedByName) {
    std::set<std::string> kept;
    const std::vector<std::string> texts = MakeHostileTexts();
    {
        const auto repository = Open();
        const AssetDescription asset = Store(repository, "a", "x");
        for (const std::string& text : texts) {
            SCOPED_TRACE(Show(text));
            const Result<void> result =
                repository->StoreMetaData(asset, MakeMetaId(text), Data(CString(text)), KIND::PERSISTENT | KIND::VERSIONED);
            if (result.IsError()) ExpectRefused(result.GetError(), text);
            if (result.IsOk()) kept.insert(text);
        }
    }
    EXPECT_GE(kept.size(), 20U) << "some are plain names";
    const auto repository = Open();
    const AssetMetaData metaData = FindLatest(repository, MakeId("a"))->GetMetaData();
    for (const std::string& text : texts) {
        SCOPED_TRACE(Show(text));
        const Opt<Data> value = Need(metaData->Get(MakeMetaId(text)));
        ASSERT_EQ(value.has_value(), kept.contains(text));
        if (value) {
            EXPECT_EQ(*value, Data(CString(text)));
        }
    }
}

}  // namespace
}  // namespace talvo
