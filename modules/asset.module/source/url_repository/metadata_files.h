// The files of metadata values in one directory, of whatever repository it is: listing, writing and removing them.
#pragma once

#include "asset_impl/metadata_kinds.h"
#include "kernel/io/url.h"
#include "url_repository/version_scan.h"

#include <string_view>
#include <vector>

namespace talvo {

/// Takes into `table` what the names in `directory` say, values that are files with their urls; documents are left to be read at need.
/// An entry that is there already stays. @param tree the kind of the side tree that the directory lies in, which holds nothing else; NONE: no side tree.
Result<void> AddMetaDataFiles(const IdAndVersion& asset, const Url& directory, const VersionContent& content, KIND tree,
                              AssetMetaDataTable& table);

/// What holds the value of `metaId` in this directory, but for the file named `except`.
Result<std::vector<Url>> FindValueFiles(const Url& directory, const InternedId& metaId, KIND kind, std::string_view except);
/// Removes such files. @param removed counts those that went, also if another one failed.
Result<void> RemoveValueFiles(const Url& directory, const std::vector<Url>& files, Int& removed);
/// Puts the document of a value in the place of the one before and of its other forms; the old value stays until the new one is whole.
Result<void> ReplaceMetaDataDocument(const Url& directory, const InternedId& metaId, const Data& data, KIND kind);
/// Removes every document of a computed value. Whatever was computed from old content is stale.
Result<void> DropDerivedDocuments(const Url& directory);

}  // namespace talvo
