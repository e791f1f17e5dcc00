#include "apps/talvo/value_parser.h"

#include "apps/talvo/options.h"
#include "kernel/data/data_dictionary.h"
#include "kernel/data/document_json.h"
#include "kernel/io/url.h"

#include <algorithm>
#include <array>

namespace talvo::ValueParser {

namespace {

enum class READ_AS { TEXT, JSON };

struct NamedType {
    const char* name;
    Id id;
    READ_AS readAs;
};

const std::array<NamedType, 14>& GetNamedTypes() {
    static const std::array<NamedType, 14> types{{
        {"string", DataTraits<String>::ID, READ_AS::TEXT},
        {"int", DataTraits<Int>::ID, READ_AS::JSON},
        {"uint", DataTraits<UInt>::ID, READ_AS::JSON},
        {"float", DataTraits<Float64>::ID, READ_AS::JSON},
        {"bool", DataTraits<Bool>::ID, READ_AS::JSON},
        {"id", DataTraits<Id>::ID, READ_AS::TEXT},
        {"ids", DataTraits<BaseArray<Id>>::ID, READ_AS::JSON},
        {"strings", DataTraits<BaseArray<String>>::ID, READ_AS::JSON},
        {"url", DataTraits<Url>::ID, READ_AS::TEXT},
        {"time", DataTraits<UniversalDateTime>::ID, READ_AS::TEXT},
        {"uuid", DataTraits<Uuid>::ID, READ_AS::TEXT},
        {"color", DataTraits<Color>::ID, READ_AS::JSON},
        {"range", DataTraits<AssetVersionRange>::ID, READ_AS::JSON},
        {"dictionary", DataTraits<DataDictionary>::ID, READ_AS::JSON},
    }};
    return types;
}

struct NamedKind {
    const char* name;
    ASSET_METADATA_KIND kind;
};

// What a repository keeps. Any other kind would be gone when the program ends.
constexpr std::array<NamedKind, 5> KINDS{{
    {"persistent", ASSET_METADATA_KIND(2)},
    {"versioned", ASSET_METADATA_KIND(6)},
    {"readonly", ASSET_METADATA_KIND(7)},
    {"derived", ASSET_METADATA_KIND(10)},
    {"user", ASSET_METADATA_KIND(18)},
}};

std::string JoinNames(const auto& named) {
    std::string text;
    for (const auto& one : named) text += (text.empty() ? "" : ", ") + std::string(one.name);
    return text;
}

const NamedType* FindNamedType(const Id& type) {
    const auto& types = GetNamedTypes();
    const auto found = std::find_if(types.begin(), types.end(), [&](const NamedType& named) { return named.id == type; });
    return found == types.end() ? nullptr : &*found;
}

void RegisterNamedTypes() {
    DataTypes::RegisterAll<String, Int, UInt, Float64, Bool, Id, BaseArray<Id>, BaseArray<String>, Url, UniversalDateTime, Uuid,
                           Color, AssetVersionRange, DataDictionary>();
}

}  // namespace

std::string ListTypeNames() { return JoinNames(GetNamedTypes()); }
std::string ListKindNames() { return JoinNames(KINDS); }

Result<Id> ParseType(const std::string& name) {
    RegisterNamedTypes();
    for (const NamedType& named : GetNamedTypes()) {
        if (named.name == name) return named.id;
    }
    Id id = TRY(Id::Create(name));
    const DataType type = DataTypes::Find(id);
    if (type && type->fromDocument) return id;
    return WrongUsageError::Create(
        FormatMessage("There is no type \"@\" for values. Types are @, or the whole id of a type.", name, ListTypeNames()));
}

std::string GetTypeName(const Id& type) {
    const NamedType* named = FindNamedType(type);
    return named ? std::string(named->name) : std::string(type.GetView());
}

Result<Data> ParseValue(const std::string& text, const Id& type) {
    const NamedType* named = FindNamedType(type);
    Result<DocumentValue> document = named && named->readAs == READ_AS::TEXT ? DocumentValue(text) : ReadJson(text);
    if (document.IsOk()) {
        Result<Data> value = Data::FromBareDocument(type, document.GetValue());
        if (value.IsOk() && value.GetValue().IsPopulated()) return value;
        if (value.IsError()) document = value.GetError();
    }
    const std::string reason = document.IsError() ? " " + document.GetError()->GetMessage() : std::string();
    return WrongUsageError::Create(FormatMessage("\"@\" is no value of the type @.@", text, GetTypeName(type), reason));
}

Result<ASSET_METADATA_KIND> ParseKind(const std::string& text) {
    for (const NamedKind& named : KINDS) {
        if (text == named.name || text == std::to_string(UInt32(named.kind))) return named.kind;
    }
    return WrongUsageError::Create(
        FormatMessage("There is no kind \"@\" of values that a repository keeps. Kinds are @.", text, ListKindNames()));
}

std::string GetKindName(ASSET_METADATA_KIND kind) {
    if (kind == ASSET_METADATA_KIND::NONE) return "none";
    const auto found = std::find_if(KINDS.begin(), KINDS.end(), [&](const NamedKind& named) { return named.kind == kind; });
    return found == KINDS.end() ? std::to_string(UInt32(kind)) : std::string(found->name);
}

}  // namespace talvo::ValueParser
