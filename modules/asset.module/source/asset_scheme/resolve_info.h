// What a url of an asset or of its metadata was resolved to, carried along with it so that a later open needs no search.
#pragma once

#include "assets/asset_description.h"
#include "kernel/io/url.h"

namespace talvo {

/// Side data of a url. It counts only while `urlText` is the text of the url that carries it: a changed url is resolved anew.
struct ResolveInfo {
    Url target;  ///< where the bytes lie
    String urlText;
    AssetDescription description;  ///< the version found; null where it would hold itself, as in a value of its own metadata

    Bool operator==(const ResolveInfo&) const = default;
};

/// Never stored with the url.
template <>
struct DataTraits<ResolveInfo> {
    static constexpr LiteralId ID{"net.talvo.datatype.local.asset.resolveinfo"};
};

/// `url` with what it resolves to. @param description null for urls that are kept as metadata of that description.
Url AttachResolveInfo(Url url, const Url& target, const AssetDescription& description);
/// The record of `url`, if there is one and the url was not changed since.
Opt<ResolveInfo> FindResolveInfo(const Url& url);
/// `data` as metadata may keep it. A url that carries a description lets go of it: that one holds its metadata, so that neither would ever end.
Data WithoutDescription(const Data& data);
/// Where the bytes of `url` lie, as far as the url itself knows.
Opt<Url> FindResolveTarget(const Url& url);

}  // namespace talvo
