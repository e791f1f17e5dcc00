// `asset.info`: what reads is written again so that it reads the same.
#include "url_repository/asset_info.h"

#include "fuzz/fuzz_target.h"

namespace talvo {

FUZZ_TARGET(asset_info, bytes) {
    const Opt<AssetInfo> info = ParseAssetInfo(bytes);
    if (!info) return;
    FUZZ_EXPECT(info->id.IsPopulated(), "");
    const std::string text = WriteAssetInfoText(*info);
    const Opt<AssetInfo> again = ParseAssetInfo(text);
    FUZZ_EXPECT(again && again->id == info->id && again->type == info->type, text);
}

}  // namespace talvo
