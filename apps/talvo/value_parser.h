// Metadata values and kinds as words on the command line.
#pragma once

#include "assets/asset_metadata.h"

#include <string>

namespace talvo::ValueParser {

/// The id of a type's short name ("int", "ids", ...), or the id that `name` is.
/// Errors: WrongUsageError with the names if no such type is known.
Result<Id> ParseType(const std::string& name);
/// The short name of a type, or its whole id.
std::string GetTypeName(const Id& type);
/// The value that `text` is as a `type`: texts as they stand, all else as JSON. Errors: WrongUsageError that says what the type expects.
Result<Data> ParseValue(const std::string& text, const Id& type);

/// "persistent", "versioned", "readonly", "derived", "user", or the number of one of them.
/// Errors: WrongUsageError with the names.
Result<ASSET_METADATA_KIND> ParseKind(const std::string& text);
/// The name of a kind ("none" for what lives in memory only), or its number.
std::string GetKindName(ASSET_METADATA_KIND kind);

/// The short names, for the help.
std::string ListTypeNames();
std::string ListKindNames();

}  // namespace talvo::ValueParser
