#include "asset_scheme/resolve_info.h"

namespace talvo {

namespace {

constexpr LiteralId RESOLVE_INFO_KEY{"asset"};

}  // namespace

Url AttachResolveInfo(Url url, const Url& target, const AssetDescription& description) {
    String text(url.GetUrl());
    url.SetData(RESOLVE_INFO_KEY, Data(ResolveInfo{target, std::move(text), description}));
    return url;
}

Opt<ResolveInfo> FindResolveInfo(const Url& url) {
    Opt<ResolveInfo> info = url.GetData<ResolveInfo>(RESOLVE_INFO_KEY);
    if (!info || info->urlText.GetView() != url.GetUrl()) return std::nullopt;
    return info;
}

Data WithoutDescription(const Data& data) {
    const Url* url = data.GetPtr<Url>();
    const Opt<ResolveInfo> info = url ? url->GetData<ResolveInfo>(RESOLVE_INFO_KEY) : std::nullopt;
    if (!info || !info->description) return data;
    Url plain = *url;
    plain.EraseData(RESOLVE_INFO_KEY);
    return Data(std::move(plain));
}

Opt<Url> FindResolveTarget(const Url& url) {
    Opt<ResolveInfo> info = FindResolveInfo(url);
    return info ? Opt<Url>(std::move(info->target)) : std::nullopt;
}

}  // namespace talvo
