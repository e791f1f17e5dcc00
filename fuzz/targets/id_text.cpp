// Ids: the names of their directories, their line in `asset.info`, and the text of an identity.
#include "assets/asset_repository.h"
#include "fuzz/fuzz_target.h"
#include "url_repository/asset_directory_name.h"
#include "url_repository/asset_info.h"

#include <algorithm>

namespace talvo {

namespace {

Bool IsPlain(char c) {
    return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || std::string_view("$-._").find(c) != std::string_view::npos;
}

/// One component, seen by scans, that no file system takes for another one of ours.
void CheckDirectoryName(const std::string& name) {
    FUZZ_EXPECT(!name.empty() && name.size() <= 210 && name.front() != '.', name);
    FUZZ_EXPECT(std::all_of(name.begin(), name.end(), IsPlain), name);
    FUZZ_EXPECT(!IsReservedDirectoryName(name), name);
}

/// An id that `asset.info` takes comes back from it; another one is never taken for a third.
void CheckInfo(const Id& id) {
    const Opt<AssetInfo> info = ParseAssetInfo(WriteAssetInfoText({id, id}));
    const Opt<Id> line = ParseIdLine(id.GetView());
    if (line) FUZZ_EXPECT(info && info->id == id, id.GetView());
}

void CheckIdentity(std::string_view asset, std::string_view version) {
    const Result<Id> assetId = Id::Create(asset);
    const Result<Id> versionId = Id::Create(version);
    if (assetId.IsError() || versionId.IsError()) return;
    const Result<Id> text = AssetIdentityText::Write({assetId.GetValue(), versionId.GetValue()}, nullptr);
    if (text.IsError()) return;
    const Result<IdAndVersion> read = AssetIdentityText::Read(text.GetValue());
    FUZZ_EXPECT(read.IsOk(), text.GetValue().GetView());
    // The marks themselves are not escaped.
    const Bool isPlain = asset.find("?=") == asset.npos && asset.find("#=") == asset.npos && version.find("#=") == version.npos;
    if (isPlain) {
        FUZZ_EXPECT(read.GetValue() == IdAndVersion(assetId.GetValue(), versionId.GetValue()), text.GetValue().GetView());
    }
}

}  // namespace

FUZZ_TARGET(id_text, bytes) {
    const std::size_t line = std::min(bytes.find('\n'), bytes.size());
    CheckIdentity(bytes.substr(0, line), bytes.substr(std::min(line + 1, bytes.size())));
    const Result<IdAndVersion> identity = AssetIdentityText::Read(MUST(Id::Create(bytes.substr(0, line))));
    FUZZ_EXPECT(identity.IsOk(), bytes);
    const Result<Id> id = Id::Create(bytes);
    FUZZ_EXPECT(id.IsOk() == (bytes.size() <= Id::MAX_LENGTH), "");
    if (id.IsError() || bytes.empty()) return;
    FUZZ_EXPECT(id.GetValue().GetView() == bytes, bytes);
    const std::string first = MUST(MakeDirectoryName(id.GetValue()));
    const std::string hashed = MUST(MakeHashedDirectoryName(id.GetValue()));
    CheckDirectoryName(first);
    CheckDirectoryName(hashed);
    FUZZ_EXPECT(FoldDirectoryName(first) == first, first);
    CheckInfo(id.GetValue());
}

}  // namespace talvo
