// One metadata value as a document in a version directory.
#pragma once

#include "assets/asset_metadata.h"
#include "kernel/io/url.h"

namespace talvo {

/// The value of `metaId` in `directory`; empty if there is none, or one that was derived by another version of the application.
/// Errors: FileFormatError that names a document that doesn't parse; IoError.
Result<Data> ReadMetaDataDocument(const Url& directory, const InternedId& metaId, ASSET_METADATA_KIND kind);
/// The bytes of the document of a value. Errors: UnsupportedArgumentError for values that can't be stored.
Result<std::string> MakeMetaDataDocument(const Data& value, ASSET_METADATA_KIND kind);
/// The content of the document `file` as it stands, for checks.
Result<Data> ReadMetaDataDocument(const Url& file);

}  // namespace talvo
