#include "url_repository/asset_info.h"

#include "kernel/io/file_utilities.h"
#include "node_library.h"
#include "url_repository/tree_access.h"

#include <algorithm>

namespace talvo {

namespace {

// Two ids of the greatest length, and line ends.
constexpr Int64 MAX_ASSET_INFO_SIZE = Int64(2) * (Int64(Id::MAX_LENGTH) + 2);

constexpr std::string_view OLD_NODE_TYPE = "net.talvo.node.assettype.nodefactory";

Bool HasControlCharacter(std::string_view text) {
    return std::any_of(text.begin(), text.end(), [](char c) { return UChar(c) < 0x20 || UChar(c) == 0x7f; });
}

}  // namespace

Opt<Id> ParseIdLine(std::string_view line) {
    if (line.empty() || HasControlCharacter(line)) return std::nullopt;
    Result<Id> id = Id::Create(line);
    return id.IsOk() ? Opt<Id>(std::move(id).GetValue()) : std::nullopt;
}

// An empty type is read, though none is written: the asset stays known.
Opt<Id> ParseTypeLine(std::string_view line) {
    if (line == OLD_NODE_TYPE) return Id(ASSETTYPE_NODETEMPLATE);
    if (line.empty()) return Id();
    return ParseIdLine(line);
}

std::string WriteAssetInfoText(const AssetInfo& info) {
    std::string text(info.id.GetView());
    text += '\n';
    text += info.type.GetView();
    text += '\n';
    return text;
}

Opt<AssetInfo> ParseAssetInfo(std::string_view text) {
    LineReader lines(text);
    const Opt<std::string> idLine = lines.ReadLine();
    const Opt<std::string> typeLine = lines.ReadLine();
    if (!idLine || !typeLine) return std::nullopt;
    Opt<Id> id = ParseIdLine(*idLine);
    Opt<Id> type = ParseTypeLine(*typeLine);
    if (!id || !type) return std::nullopt;
    return AssetInfo{std::move(*id), std::move(*type)};
}

Result<Opt<AssetInfo>> ReadAssetInfo(const Url& assetDirectory) {
    const Url file = assetDirectory + ASSET_INFO_NAME;
    const Result<std::string> text = ReadTreeFile(file, MAX_ASSET_INFO_SIZE);
    if (text.IsOk()) return ParseAssetInfo(text.GetValue());
    const IO_DETECT kind = file.IoDetect();
    const Bool maySaySomething = kind == IO_DETECT::FILE || kind == IO_DETECT::FAILED;
    return maySaySomething ? Result<Opt<AssetInfo>>(text.GetError()) : Result<Opt<AssetInfo>>(Opt<AssetInfo>());
}

}  // namespace talvo
