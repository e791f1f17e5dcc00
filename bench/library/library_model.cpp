#include "bench/library/library_model.h"

#include "bench/library/library_words.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <iterator>
#include <utility>

namespace talvo::bench {

namespace {

constexpr Int GROUPS = std::size(LIBRARY_GROUPS);
constexpr Int MODIFIERS = std::size(LIBRARY_MODIFIERS);
constexpr Int NOUNS = GROUPS * NOUNS_OF_A_GROUP;
// Categories in this order: groups, nouns, nouns with a modifier. Parents come before what is in them.
constexpr Int MOST_CATEGORIES = GROUPS + NOUNS + NOUNS * MODIFIERS;
constexpr Int ASSETS_OF_A_CATEGORY = 20;

constexpr std::string_view FILE_TYPE = "net.talvo.assettype.file";
constexpr std::string_view CATEGORY_TYPE = "net.talvo.assettype.category";
constexpr std::string_view INFORMATION_TYPE = "net.talvo.assettype.database";
constexpr std::string_view TOP_CATEGORY = "net.talvo.category.base";

constexpr Int64 DAY = Int64(86400) * 1000000;
constexpr Int64 FIRST_TIME = Int64(1577836800) * 1000000;  // the beginning of 2020
constexpr Int64 DAYS_OF_FIRST_VERSIONS = 1800;
constexpr Int64 DAYS_BETWEEN_VERSIONS = 40;
constexpr Float64 SMALLEST_SIZE = 100;
constexpr Float64 LARGEST_SIZE = 16000;

/// What a number is drawn for.
enum class PURPOSE : UInt { REPOSITORY, CATEGORY, FILE, CONTENT, PAYLOAD };

/// Numbers that follow from where they are drawn, so that any asset can be made alone and by any thread.
class Draw {
public:
    Draw(UInt seed, PURPOSE purpose, Int index) : _state(Mix(Mix(seed * 8 + UInt(purpose)) + UInt(index))) {}

    UInt Next() { return Mix(_state += 0x9e3779b97f4a7c15U); }
    Int Below(Int end) { return Int(Next() % UInt(end)); }
    Float64 Fraction() { return Float64(Next() >> 11) / Float64(UInt(1) << 53); }

private:
    static UInt Mix(UInt number) {
        number = (number ^ (number >> 30)) * 0xbf58476d1ce4e5b9U;
        number = (number ^ (number >> 27)) * 0x94d049bb133111ebU;
        return number ^ (number >> 31);
    }

    UInt _state;
};

/// `prefix` and 32 hexadecimal digits.
std::string MakeId(std::string_view prefix, Draw draw) {
    constexpr std::string_view DIGITS = "0123456789abcdef";
    std::string id(prefix);
    for (const UInt number : {draw.Next(), draw.Next()}) {
        for (int shift = 60; shift >= 0; shift -= 4) id += DIGITS[(number >> shift) & 15];
    }
    return id;
}

const LibraryNoun& GetNoun(Int noun) { return LIBRARY_GROUPS[noun / NOUNS_OF_A_GROUP].nouns[noun % NOUNS_OF_A_GROUP]; }

std::string MakeEnglish(const LibraryModifier& modifier, const LibraryNoun& noun) {
    return std::string(modifier.english) + " " + std::string(noun.english);
}

std::string MakeGerman(const LibraryModifier& modifier, const LibraryNoun& noun) {
    std::string second(noun.german);
    // Letters beyond ASCII begin none of the nouns.
    second[0] = char(second[0] | 0x20);
    return std::string(modifier.german) + second;
}

std::string MakeKeyword(std::string_view word) {
    std::string keyword = "keyword_";
    for (const char c : word) keyword += char(c | 0x20);
    return keyword;
}

const LibraryFileKind& DrawFileKind(Draw& draw) {
    UInt all = 0;
    for (const LibraryFileKind& kind : LIBRARY_FILE_KINDS) all += kind.weight;
    UInt rest = draw.Next() % all;
    const LibraryFileKind* kind = LIBRARY_FILE_KINDS;
    while (rest >= kind->weight) rest -= (kind++)->weight;
    return *kind;
}

}  // namespace

LibraryModel::LibraryModel(const LibraryOptions& options)
    : _options(options), _categories(std::min(options.assets / ASSETS_OF_A_CATEGORY, MOST_CATEGORIES)) {}

Int LibraryModel::GetVersionCount() const { return 1 + _categories + (_options.assets - _categories) * _options.versions; }

std::string LibraryModel::GetRepositoryId() const { return MakeId("database_", Draw(_options.seed, PURPOSE::REPOSITORY, 0)); }

Int64 LibraryModel::GetLastTime() const {
    return FIRST_TIME + DAY * (DAYS_OF_FIRST_VERSIONS + DAYS_BETWEEN_VERSIONS * _options.versions);
}

std::string LibraryModel::GetCategoryId(Int index) const {
    return MakeId("category@", Draw(_options.seed, PURPOSE::CATEGORY, index));
}

std::string LibraryModel::GetId(Int index) const {
    if (index < _categories) return GetCategoryId(index);
    if (index == _options.assets) return "databaseinfo_" + GetRepositoryId();
    return MakeId("file_", Draw(_options.seed, PURPOSE::FILE, index));
}

LibraryAsset LibraryModel::MakeAsset(Int index) const {
    if (index < _categories) return MakeCategory(index);
    return index == _options.assets ? MakeInformation() : MakeFile(index);
}

LibraryAsset LibraryModel::MakeInformation() const {
    LibraryAsset asset;
    asset.id = GetId(_options.assets);
    asset.type = INFORMATION_TYPE;
    asset.english = "Sample Library " + std::to_string(_options.seed);
    asset.german = "Beispielbibliothek " + std::to_string(_options.seed);
    asset.versions = {{0, FIRST_TIME}};
    return asset;
}

LibraryAsset LibraryModel::MakeCategory(Int index) const {
    LibraryAsset asset;
    asset.id = GetCategoryId(index);
    asset.type = CATEGORY_TYPE;
    asset.versions = {{0, FIRST_TIME + index}};
    if (index < GROUPS) {
        asset.english = LIBRARY_GROUPS[index].name.english;
        asset.german = LIBRARY_GROUPS[index].name.german;
        asset.category = TOP_CATEGORY;
    } else if (index < GROUPS + NOUNS) {
        const Int noun = index - GROUPS;
        asset.english = GetNoun(noun).english;
        asset.german = GetNoun(noun).german;
        asset.category = GetCategoryId(noun / NOUNS_OF_A_GROUP);
    } else {
        const Int noun = (index - GROUPS - NOUNS) / MODIFIERS;
        const LibraryModifier& modifier = LIBRARY_MODIFIERS[(index - GROUPS - NOUNS) % MODIFIERS];
        asset.english = MakeEnglish(modifier, GetNoun(noun));
        asset.german = MakeGerman(modifier, GetNoun(noun));
        asset.category = GetCategoryId(GROUPS + noun);
    }
    return asset;
}

/// The narrowest category that there is.
std::string LibraryModel::FindCategory(Int noun, Int modifier) const {
    for (const Int index : {GROUPS + NOUNS + noun * MODIFIERS + modifier, GROUPS + noun, noun / NOUNS_OF_A_GROUP}) {
        if (index < _categories) return GetCategoryId(index);
    }
    return std::string(TOP_CATEGORY);
}

LibraryAsset LibraryModel::MakeFile(Int index) const {
    Draw draw(_options.seed, PURPOSE::CONTENT, index);
    const Int noun = draw.Below(NOUNS);
    const Int modifier = draw.Below(MODIFIERS);
    const std::string number = " " + std::to_string(1 + draw.Below(_options.assets / 100 + 10));
    LibraryAsset asset;
    asset.id = GetId(index);
    asset.type = FILE_TYPE;
    asset.english = MakeEnglish(LIBRARY_MODIFIERS[modifier], GetNoun(noun)) + number;
    asset.german = MakeGerman(LIBRARY_MODIFIERS[modifier], GetNoun(noun)) + number;
    asset.category = FindCategory(noun, modifier);
    const std::array words = {GetNoun(noun).english, LIBRARY_MODIFIERS[modifier].english,
                              LIBRARY_GROUPS[noun / NOUNS_OF_A_GROUP].name.english};
    const Int keywords = 1 + draw.Below(Int(words.size()));
    for (Int i = 0; i < keywords; i++) asset.keywords.push_back(MakeKeyword(words[std::size_t(i)]));
    const LibraryFileKind& kind = DrawFileKind(draw);
    asset.subtype = kind.subtype;
    asset.suffix = kind.suffix;
    Int64 time = FIRST_TIME + Int64(draw.Next() % UInt(DAYS_OF_FIRST_VERSIONS * DAY));
    for (Int i = 0; i < _options.versions; i++) {
        // As many small ones as large ones, by the factor between them.
        const Int64 size = Int64(SMALLEST_SIZE * std::pow(LARGEST_SIZE / SMALLEST_SIZE, draw.Fraction()));
        asset.versions.push_back({size, time});
        time += 1 + Int64(draw.Next() % UInt(DAYS_BETWEEN_VERSIONS * DAY));
    }
    return asset;
}

void LibraryModel::FillPayload(Int index, const LibraryAsset& asset, Int version, std::string& bytes) const {
    const std::size_t size = std::size_t(asset.versions[std::size_t(version)].size);
    bytes.resize((size + sizeof(UInt) - 1) / sizeof(UInt) * sizeof(UInt));
    Draw draw(_options.seed, PURPOSE::PAYLOAD, index * _options.versions + version);
    for (std::size_t i = 0; i < bytes.size(); i += sizeof(UInt)) {
        const UInt number = draw.Next();
        std::memcpy(bytes.data() + i, &number, sizeof(number));
    }
    bytes.resize(size);
}

std::vector<Int> LibraryModel::GetOrder() const {
    std::vector<std::pair<std::string, Int>> ids;
    for (Int i = 0; i < GetCount(); i++) ids.emplace_back(GetId(i), i);
    std::sort(ids.begin(), ids.end());
    std::vector<Int> order;
    for (const auto& [id, index] : ids) order.push_back(index);
    return order;
}

}  // namespace talvo::bench
