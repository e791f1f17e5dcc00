// Files by nothing but calls of the system: what the generators and the peers stand on.
#pragma once

#include "kernel/base/types.h"

#include <string>
#include <string_view>

namespace talvo::bench {

void WriteBareFile(const std::string& path, std::string_view bytes);
std::string ReadBareFile(const std::string& path);
void MakeBareDirectory(const std::string& path);
/// Waits until all is on the disk that `path` lies on.
void SyncBare(const std::string& path);

/// Waits until all files in this folder and in those below it are on the disk, whatever else is written to it meanwhile.
void SyncBareFiles(const std::string& folder);

/// What the directory of one version holds besides the payload: names and bytes as a store writes them.
struct BareDocuments {
    std::string info;
    std::string hash;
    std::string time;
    std::string name;
};
BareDocuments MakeBareDocuments(std::string_view id, std::string_view digest, std::string_view name);
/// `<root>/<id>/1` with all of that and the payload.
void WriteBareAsset(const std::string& root, const std::string& id, const BareDocuments& documents, std::string_view payload);
std::string HashBare(std::string_view bytes);

}  // namespace talvo::bench
