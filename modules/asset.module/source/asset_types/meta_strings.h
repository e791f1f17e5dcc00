// Texts of assets for people: how they are found over languages, types and the description system, and how they are set.
#pragma once

#include "assets/asset_type.h"

namespace talvo {

namespace MetaStrings {

/// The texts of one language as metadata holds them, if there are any: a definition, or a dictionary with one under the empty key.
Result<Opt<DataDescriptionDefinition>> GetDefinition(const AssetMetaData& metaData, const InternedId& languageMetaDataId);
/// The default of `AssetTypeInterface::GetMetaString`. @param type null for an unknown type, whose descriptions can't be asked.
Result<String> Get(const AssetTypeInterface* type, const AssetDescription& asset, const InternedId& key, LanguageRef language,
                   const String& fallback);
/// The default of `AssetTypeInterface::StoreMetaString`.
Result<void> Store(const AssetTypeInterface* type, const AssetDescription& asset, const InternedId& key, const String& value,
                   LanguageRef language);
/// Tells the description system that texts of `asset` have changed. What fails there concerns its users only.
void NoteChange(const AssetDescription& asset, LanguageRef language);

/// The language and those that it falls back to; null stands for the current one.
std::vector<LanguageRef> GetLanguageChain(LanguageRef language);
/// The text that every asset has under `key` as long as nobody gave it one of its own. Kept until the module stops once it could be loaded; one that
/// could not is tried again after a moment.
String GetBaseText(const InternedId& key, LanguageRef language);
/// Forgets the texts that assets have by default: who asks next loads them again.
void DropBaseTexts();

}  // namespace MetaStrings

}  // namespace talvo
