#include "asset_types/meta_strings.h"

#include "asset_impl/asset_metadata_impl.h"
#include "assets/asset_repository.h"
#include "kernel/description/description_database.h"
#include "kernel/text/format.h"
#include "kernel/thread/locks.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>
#include <vector>

namespace talvo {

namespace {

constexpr LiteralId STRINGS{"string"};
constexpr LiteralId EXPORTED_STRING{"exportedstring"};

/// Held for ever, so that the texts of all assets share these ids. The compiler may not drop the only reference to them.
[[gnu::used]] const auto& g_wellKnownIds =
    *new std::array<InternedId, 3>{InternedId(STRINGS), InternedId(EXPORTED_STRING), InternedId(OBJECT_BASE_NAME)};

String GetText(const DataDictionary* entry) {
    return entry ? entry->Get<String>(DESCRIPTION::TRANSLATEDSTRING).value_or(String()) : String();
}

/// A text that every asset has, or that there was none to be had just then.
struct BaseText {
    String text;
    Opt<std::chrono::steady_clock::time_point> missing;  // when it was looked for in vain
};
/// By language and key.
using BaseTexts = HashMap<std::pair<Id, Id>, BaseText>;
/// Names are read by the hundred thousand: what isn't there is not looked for at each.
constexpr std::chrono::milliseconds LOOK_AGAIN{500};

Guarded<BaseTexts, ARWLock>& GetKnownBaseTexts() {
    static auto& known = *new Guarded<BaseTexts, ARWLock>;
    return known;
}

using MetaStrings::GetBaseText;
using MetaStrings::GetLanguageChain;

Bool IsOwnText(const String& text, const InternedId& key, LanguageRef language) {
    return text.IsPopulated() && text != GetBaseText(key, language);
}

/// The asset's own text in an entry, empty if it has none.
String GetOwnText(const DataDictionary* entry, const InternedId& key, LanguageRef language) {
    String text = GetText(entry);
    return IsOwnText(text, key, language) ? text : String();
}

/// Looks in one language at a time, from the first to the last of the chain.
class TextSearch {
public:
    TextSearch(const AssetTypeInterface* type, const AssetDescription& asset, const InternedId& key, LanguageRef language)
        : _type(type), _asset(asset), _key(key), _chain(GetLanguageChain(language)) {}

    Result<String> Run() const {
        Bool hasTexts = false;
        for (const LanguageRef language : _chain) {
            const auto stored = TRY(GetStored(language));
            if (!stored.hasDescription) continue;
            hasTexts = true;
            if (IsOwnText(stored.text, _key, language)) return String(stored.text);
        }
        // An asset with texts of its own is not named after its type, even if they lack this one.
        if (hasTexts || !_type) return String();
        String text = FindInType();
        return text.IsPopulated() ? text : FindInRepository();
    }

private:
    Result<BaseAssetRepositoryInterface::StoredText> GetStored(LanguageRef language) const {
        const InternedId id = TRY(AssetInterface::GetLanguageMetaDataId(language->GetIdentifier()));
        const AssetMetaData& metaData = _asset->GetMetaData();
        BaseAssetRepositoryInterface::StoredText stored;
        if (const auto* impl = dynamic_cast<const AssetMetaDataImpl*>(metaData.GetPointer()))
            stored = TRY(impl->FindText(id, _key.GetId()));
        if (stored.isKnown) return stored;
        const Opt<DataDescriptionDefinition> definition = TRY(MetaStrings::GetDefinition(metaData, id));
        stored.hasDescription = definition.has_value();
        if (definition) stored.text = GetText(definition->FindEntry(_key.GetId()));
        return stored;
    }
    String FindInType() const {
        for (const LanguageRef language : _chain) {
            const auto definition =
                _type->LoadDescriptionDefinition(_asset, Int32(DESCRIPTION_MODE::WITH_INCLUDES), STRINGS, language);
            if (definition.IsError()) continue;
            String text = GetOwnText(definition.GetValue().FindEntry(_key.GetId()), _key, language);
            if (text.IsPopulated()) return text;
        }
        return String();
    }
    String FindInRepository() const {
        const AssetRepositoryRef repository = _asset->GetRepository();
        if (!repository) return String();
        for (const LanguageRef language : _chain) {
            const auto description = repository->LoadDescription(STRINGS, language, AssetIdentifier(_asset));
            if (description.IsError()) continue;
            String text = GetOwnText(description.GetValue().FindEntry(_key.GetId()), _key, language);
            if (text.IsPopulated()) return text;
        }
        return String();
    }

    const AssetTypeInterface* const _type;
    const AssetDescription& _asset;
    const InternedId& _key;
    const std::vector<LanguageRef> _chain;
};

/// A base language is filled before those that fall back to it, so that everybody sees a text.
Result<LanguageRef> ChooseLanguage(const AssetTypeInterface* type, const AssetDescription& asset, const InternedId& key,
                                   const String& value, LanguageRef language) {
    const LanguageRef base = language->GetFallbackLanguage();
    if (!base || value.IsEmpty() || !type) return language;
    // The type is asked: the description would answer with the asset's id, and no base language would ever be empty.
    const String present = TRY(type->GetMetaString(asset, key, base, String()));
    return present.IsEmpty() ? base : language;
}

DataDictionary MakeEntry(const DataDictionary* present, const InternedId& key, const String& value) {
    DataDictionary entry;
    if (present) {
        entry = *present;
    } else {
        entry.Set(DESCRIPTION::IDENTIFIER, key.GetId());
        entry.Set(DESCRIPTION::COMMAND, EXPORTED_STRING);
    }
    entry.Set(DESCRIPTION::TRANSLATEDSTRING, value);
    return entry;
}

}  // namespace

std::vector<LanguageRef> MetaStrings::GetLanguageChain(LanguageRef language) {
    std::vector<LanguageRef> chain;
    if (!language) language = Resource::GetCurrentLanguage();
    while (language && std::find(chain.begin(), chain.end(), language) == chain.end()) {
        chain.push_back(language);
        language = language->GetFallbackLanguage();
    }
    return chain;
}

String MetaStrings::GetBaseText(const InternedId& key, LanguageRef language) {
    auto& known = GetKnownBaseTexts();
    const std::pair<Id, Id> place(language->GetIdentifier(), key.GetId());
    {
        const auto texts = known.Read();
        const BaseText* found = texts->Find(place);
        const Bool isTrue = found && (!found->missing || std::chrono::steady_clock::now() - *found->missing < LOOK_AGAIN);
        if (isTrue) return found->text;
    }
    const Result<DataDescription> base = DataDescriptionDatabase::LoadDescription(STRINGS, language, DESCRIPTION::BASE);
    BaseText loaded;
    if (base.IsError()) {
        loaded.missing = std::chrono::steady_clock::now();
    } else {
        loaded.text = GetText(base.GetValue().FindEntry(key.GetId()));
    }
    const auto texts = known.Write();
    texts->Insert(place, loaded).Ignore("a text that can't be kept is loaded again");
    return loaded.text;
}

void MetaStrings::DropBaseTexts() {
    BaseTexts dropped;
    const auto known = GetKnownBaseTexts().Write();
    std::swap(*known, dropped);
}

Result<Opt<DataDescriptionDefinition>> MetaStrings::GetDefinition(const AssetMetaData& metaData,
                                                                  const InternedId& languageMetaDataId) {
    if (!metaData) return Opt<DataDescriptionDefinition>();
    const Opt<Data> value = TRY(metaData->Get(languageMetaDataId));
    if (!value) return Opt<DataDescriptionDefinition>();
    const DataDictionary* wrapper = value->GetPtr<DataDictionary>();
    const Data* inner = wrapper ? wrapper->Find(Id()) : &*value;
    const DataDescriptionDefinition* definition = inner ? inner->GetPtr<DataDescriptionDefinition>() : nullptr;
    return definition ? Opt<DataDescriptionDefinition>(*definition) : Opt<DataDescriptionDefinition>();
}

Result<String> MetaStrings::Get(const AssetTypeInterface* type, const AssetDescription& asset, const InternedId& key,
                                LanguageRef language, const String& fallback) {
    return CatchOutOfMemory([&]() -> Result<String> {
        if (!asset) return String();
        String text = TRY(TextSearch(type, asset, key, language).Run());
        return text.IsPopulated() ? text : fallback;
    });
}

Result<void> MetaStrings::Store(const AssetTypeInterface* type, const AssetDescription& asset, const InternedId& key,
                                const String& value, LanguageRef language) {
    return CatchOutOfMemory([&]() -> Result<void> {
        const AssetRepositoryRef repository = asset ? asset->GetRepository() : nullptr;
        if (!repository) {
            return NullptrError::Create(
                FormatMessage("The text @ can't be stored: there is no repository of asset @ (any more).", key, asset));
        }
        if (!language) language = Resource::GetCurrentLanguage();
        const LanguageRef target = TRY(ChooseLanguage(type, asset, key, value, language));
        DataDescriptionDefinition definition =
            repository->LoadDescriptionDefinition(Int32(DESCRIPTION_MODE::OWN_ENTRIES), STRINGS, target, AssetIdentifier(asset))
                .GetValueOr(DataDescriptionDefinition());
        definition.SetCategory(STRINGS);
        TRY(definition.ReplaceEntry(MakeEntry(definition.FindEntry(key.GetId()), key, value)));
        const Id databaseId = TRY(repository->GetDescriptionDatabaseId());
        TRY(DataDescriptionDefinitionDatabase::StoreDescription(databaseId, STRINGS, target, asset->GetIdAndVersion(), definition,
                                                                false));
        return OK;
    });
}

void MetaStrings::NoteChange(const AssetDescription& asset, LanguageRef language) {
    const AssetRepositoryRef repository = asset->GetRepository();
    if (!repository) return;
    const Result<Id> databaseId = repository->GetDescriptionDatabaseId();
    const auto database = databaseId.IsOk() ? DataDescriptionDefinitionDatabase::FindDatabase(databaseId.GetValue()) : nullptr;
    if (!database) return;
    if (!language) language = Resource::GetCurrentLanguage();
    database->UpdateDescriptions(STRINGS, language, asset->GetIdAndVersion())
        .Ignore("the text is stored; who shows it reads it again");
}

Result<DataDescriptionDefinition> AssetTypeBase::LoadDescriptionDefinition(const AssetDescription& asset, Int32 mode,
                                                                           const Id& category, LanguageRef language) const {
    return CatchOutOfMemory([&]() -> Result<DataDescriptionDefinition> {
        DataDescriptionDefinition result;
        const Bool withIncludes = mode == Int32(DESCRIPTION_MODE::WITH_INCLUDES);
        if (!withIncludes && mode != Int32(DESCRIPTION_MODE::OWN_ENTRIES)) return result;
        if (withIncludes) TRY(result.ReplaceEntry(DESCRIPTION::MakeIncludeEntry(DESCRIPTION::BASE)));
        if (category != STRINGS || !asset) return result;
        if (!language) language = Resource::GetDefaultLanguage();
        const InternedId id = TRY(AssetInterface::GetLanguageMetaDataId(language ? language->GetIdentifier() : Id()));
        const Opt<DataDescriptionDefinition> stored = TRY(MetaStrings::GetDefinition(asset->GetMetaData(), id));
        if (stored) TRY(result.MergeDescriptionDefinition(*stored));
        return result;
    });
}

Result<AssetDescription> AssetTypeBase::StoreDescriptionDefinition(const AssetDescription& asset, const Id& category,
                                                                   LanguageRef language,
                                                                   const DataDescriptionDefinition& overwrittenDescription,
                                                                   const AssetRepositoryRef&) const {
    return CatchOutOfMemory([&]() -> Result<AssetDescription> {
        if (category != STRINGS) return asset;
        if (!language) language = Resource::GetDefaultLanguage();
        const InternedId id = TRY(AssetInterface::GetLanguageMetaDataId(language ? language->GetIdentifier() : Id()));
        TRY(asset.StoreMetaData(id, Data(overwrittenDescription), ASSET_METADATA_KIND::PERSISTENT));
        return asset;
    });
}

}  // namespace talvo
