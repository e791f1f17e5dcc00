// The names of files in a version directory, and which of them are payload and which metadata.
#pragma once

#include "assets/asset_metadata.h"

#include <string>
#include <string_view>

namespace talvo {

struct MetaDataFileName {
    enum class FORM { DOCUMENT, FILE };
    std::string key;
    ASSET_METADATA_KIND kind = ASSET_METADATA_KIND::NONE;
    FORM form = FORM::DOCUMENT;  ///< FILE: the value is the file itself
};

/// `asset` and `asset.<suffix>`, whatever the suffix. Tested before metadata names, so that files of any suffix can be payloads.
Bool IsPayloadName(std::string_view name);
/// The name of a payload with this suffix, which may be empty; a suffix that no file system takes is left out.
std::string MakePayloadName(std::string_view suffix);

/// Whether values of exactly this kind are kept on disk.
Bool IsStorableKind(ASSET_METADATA_KIND kind);

/// What a file's name says: `<key>.meta`, `<key>.version`, `<key>.derived` are documents, with one more suffix they are values themselves.
/// Nothing for other names, payloads among them.
Opt<MetaDataFileName> ParseMetaDataFileName(std::string_view name);
/// Name of the document of a value. `kind` is one that can be stored.
std::string MakeMetaDataFileName(std::string_view key, ASSET_METADATA_KIND kind);
/// Name of a value that is a file. A suffix that would not read back is replaced by "file".
std::string MakeMetaDataFileName(std::string_view key, ASSET_METADATA_KIND kind, std::string_view suffix);
/// Errors: IllegalArgumentError for a key whose files could not be told from payloads, hidden files or other directories.
Result<void> CheckStorableKey(const InternedId& key);

}  // namespace talvo
