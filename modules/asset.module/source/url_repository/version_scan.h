// What a version directory and an asset directory hold, read from their names.
#pragma once

#include "kernel/io/connection.h"
#include "url_repository/metadata_file_name.h"
#include "url_repository/version_directory_name.h"

#include <string>
#include <vector>

namespace talvo {

/// The names in one version directory that mean something.
struct VersionContent {
    struct MetaDataFile {
        std::string name;
        MetaDataFileName meaning;
    };
    std::vector<std::string> payloads;  ///< the last one counts
    std::vector<MetaDataFile> metaData;
    Bool hasHash = false;

    /// Empty if there is none.
    std::string GetPayload() const { return payloads.empty() ? std::string() : payloads.back(); }
};

/// Hidden entries, links and what is neither file nor directory mean nothing. A directory that isn't there is empty. Errors: IoError.
Result<VersionContent> ScanVersionDirectory(const Url& directory);

/// One directory that reads as a version.
struct VersionDirectory {
    std::string name;
    VersionDirectoryName meaning;
};

/// The versions of an asset by number; of one number the preferred name first. An asset that isn't there has none. Errors: IoError.
Result<std::vector<VersionDirectory>> ScanAssetDirectory(const Url& directory);
/// Those of one number.
Result<std::vector<VersionDirectory>> FindVersionDirectories(const Url& assetDirectory, UInt number);

}  // namespace talvo
