#include "fuzz/tree_builder.h"

#include "kernel/io/file_utilities.h"

#include <algorithm>
#include <array>

namespace talvo {

namespace {

using namespace std::string_view_literals;

constexpr UInt MOST_STEPS = 24;
constexpr std::size_t LONGEST_NAME = 12;

constexpr std::string_view ASSET_IDS[] = {"a"sv,  "b"sv,      "A"sv,        "a b"sv,     "a/b"sv,
                                          ".."sv, "_index"sv, "\xff\xfe"sv, "deleted"sv, "x"sv};
constexpr std::string_view ASSET_NAMES[] = {"a"sv,       "b"sv,     "a_b"sv,      "_a-ca978112"sv, "_index"sv, ".hidden"sv,
                                            "version"sv, "tmp-1"sv, "\xff\xfe"sv, ".~7"sv,         "x"sv};
constexpr std::string_view VERSION_NAMES[] = {"1"sv,
                                              "2"sv,
                                              "3"sv,
                                              "002"sv,
                                              "0"sv,
                                              "2-deleted"sv,
                                              "3-deleted"sv,
                                              "03-deleted"sv,
                                              "2-0123456789ABCDEFabcd0123456789abcdef0123"sv,
                                              "4-0123456789\n\x01 0123456789/*ef0123456789 12"sv,
                                              "9223372036854775807"sv,
                                              "9223372036854775808"sv,
                                              "-5"sv,
                                              ".~3"sv,
                                              ".~4"sv,
                                              "asset.info"sv};
constexpr std::string_view FILE_NAMES[] = {"asset"sv,
                                           "asset.txt"sv,
                                           "asset.meta"sv,
                                           "asset/inner/file"sv,
                                           "hash"sv,
                                           "net.talvo.asset.timestamp.version"sv,
                                           "net.talvo.asset.timestamp.meta"sv,
                                           "key.meta"sv,
                                           "key.version"sv,
                                           "key.derived"sv,
                                           "key.meta.png"sv,
                                           "key.version.d/inner"sv,
                                           "\xff.meta"sv,
                                           ".~1"sv,
                                           ".meta"sv};
constexpr std::string_view ROOT_FILES[] = {"version"sv, "databaseid"sv, "_index/x"sv, "stray"sv, ".~9"sv};

#define DOCUMENT(TYPE, VALUE) \
    R"({"root": "net.talvo.asset.metadata", "format": 1, "type": ")" TYPE R"(", "value": )" VALUE "}\n"sv
constexpr std::string_view CONTENTS[] = {
    "payload"sv,
    ""sv,
    "a\nnet.talvo.assettype.file\n"sv,
    "b\nnet.talvo.assettype.file\n"sv,
    "a b\nnet.talvo.assettype.file\n"sv,
    "x\nunknown.type\n"sv,
    "a\n\n"sv,
    "v1\n"sv,
    "v2\n"sv,
    "deleted\n"sv,
    "*\n"sv,
    "v1\n0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef\n"sv,
    "7\n"sv,
    "9223372036854775807\n"sv,
    "9223372036854775806\n"sv,
    "repo"sv,
    DOCUMENT("net.talvo.datatype.universaldatetime", "\"2024-05-02T12:00:00.000001Z\""),
    DOCUMENT("net.talvo.datatype.universaldatetime", "\"9999-12-31T23:59:59.999999Z\""),
    DOCUMENT("net.talvo.datatype.universaldatetime", "9223372036854775807"),
    DOCUMENT("net.talvo.datatype.universaldatetime", "-1"),
    DOCUMENT("net.talvo.datatype.string", "\"text\""),
    DOCUMENT("net.talvo.datatype.datadictionary", "{\"k\": {\"type\": \"net.talvo.datatype.int\", \"value\": 1}}"),
    DOCUMENT("some.type", "[1, {\"b\": null}]"),
    DOCUMENT("", "null"),
    "{"sv,
};
#undef DOCUMENT

/// A name that a file system takes.
std::string TakeName(ByteSource& source, Block<const std::string_view> table) {
    std::string name = source.TakeText(table);
    std::erase(name, '\0');
    return name.empty() || name == "." || name == ".." ? "empty" : name;
}

std::string TakeContent(ByteSource& source) {
    std::string text = source.TakeText(CONTENTS);
    const UInt change = source.TakeByte();
    if (change < 0xc0 || text.empty()) return text;
    const std::size_t at = std::size_t(source.TakeByte()) % text.size();
    if (change < 0xe0) {
        text.resize(at);
    } else {
        text[at] = char(source.TakeByte());
    }
    return text;
}

/// What can't be written, below a file say, is left out.
void Write(const Url& url, std::string_view bytes) {
    url.GetDirectory().IoCreateDirectory().Ignore("then the file can't be written either");
    FileUtilities::WriteFileFromMemory(url, bytes).Ignore("the tree is as good without it");
}

}  // namespace

UInt ByteSource::TakeByte() {
    if (_rest.empty()) return 0;
    const UInt byte = static_cast<UChar>(_rest.front());
    _rest.remove_prefix(1);
    return byte;
}

std::string_view ByteSource::Take(std::size_t length) {
    const std::string_view taken = _rest.substr(0, length);
    _rest.remove_prefix(taken.size());
    return taken;
}

std::string ByteSource::TakeText(Block<const std::string_view> table) {
    const UInt selector = TakeByte();
    if (selector >= 0xf0) return std::string(Take((selector - 0xf0) % LONGEST_NAME + 1));
    return std::string(table[selector % table.size()]);
}

std::string TakeAssetId(ByteSource& source) { return source.TakeText(ASSET_IDS); }

void BuildTree(ByteSource& source, const Url& root, const Url& userTree) {
    Write(root + "databaseid", "repo");
    std::string asset = "a";
    std::string version = "1";
    const UInt steps = source.TakeByte() % MOST_STEPS;
    for (UInt step = 0; step < steps && !source.IsEmpty(); ++step) {
        switch (source.TakeByte() % 6) {
            case 0:
                asset = TakeName(source, ASSET_NAMES);
                Write(root + asset + "asset.info", TakeContent(source));
                break;
            case 1:
                version = TakeName(source, VERSION_NAMES);
                (root + asset + version).IoCreateDirectory().Ignore("a file may be in its place");
                break;
            case 2: {
                const std::string name = TakeName(source, FILE_NAMES);
                Write(root + asset + version + name, TakeContent(source));
                break;
            }
            case 3: {
                const std::string name = TakeName(source, ROOT_FILES);
                Write(root + name, TakeContent(source));
                break;
            }
            case 4: {
                const std::string name = TakeName(source, FILE_NAMES);
                Write(userTree + asset + version + name, TakeContent(source));
                break;
            }
            default: (root + asset + version + TakeName(source, FILE_NAMES)).IoCreateDirectory().Ignore("as above");
        }
    }
}

}  // namespace talvo
