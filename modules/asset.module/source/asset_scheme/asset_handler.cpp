// Urls that name an asset, or a file of its metadata.
#include "asset_scheme/asset_connection.h"
#include "asset_scheme/asset_handlers.h"
#include "asset_scheme/ui_name.h"
#include "asset_scheme/url_parts.h"
#include "kernel/io/inner_file.h"

namespace talvo {

namespace {

/// Path of the top of a view that people browse: a url of an asset has none that is empty.
constexpr std::string_view TOP = "root";

const LiteralId& GetSchemeId(ASSET_SCHEME scheme) {
    switch (scheme) {
        case ASSET_SCHEME::META: return URLSCHEME_META;
        case ASSET_SCHEME::WATCH_FOLDER_STORE: return URLSCHEME_WATCHFOLDERSTORE;
        default: return URLSCHEME_ASSET;
    }
}

class AssetIoHandlerImpl final : public IoHandler {
public:
    explicit AssetIoHandlerImpl(ASSET_SCHEME scheme) : _scheme(scheme) {}

    Id GetUrlScheme() const override { return GetSchemeId(_scheme); }

    Result<IoConnectionRef> OpenConnection(const Url& url) override {
        ResolvedUrl resolved = TRY(ResolveUrl(url, AssetInterface::GetUserPrefsRepository()));
        if (resolved.target.IsEmpty()) return IoError::Create(FormatMessage("The url @ names no asset. Add the id of one.", url));
        if (IsOurs(resolved.target)) resolved = TRY(FollowToTheEnd(url));
        return IoConnectionRef(new AssetConnection(url, std::move(resolved)));
    }

    Result<Url> Normalize(const Url& url, NORMALIZE) override {
        const ResolvedUrl resolved = TRY(ResolveUrl(url, AssetInterface::GetUserPrefsRepository()));
        if (resolved.target.IsEmpty()) return url;
        // Whoever opens the target follows links.
        if (!resolved.way.empty()) TRY(CheckNoLinkBelow(resolved.trusted, resolved.way));
        return resolved.target;
    }

    Result<void> AppendUrl(Url& url, std::string_view component) override {
        if (url.GetPath() == TOP) TRY(IoHandler::RemoveUrl(url));
        return IoHandler::AppendUrl(url, component);
    }

    Result<void> RemoveUrl(Url& url) override {
        const Bool isTop = url.GetPath().empty() || url.GetPath() == TOP;
        TRY(IoHandler::RemoveUrl(url));
        if (!isTop && url.GetPath().empty()) url.SetPath(TOP);
        return OK;
    }

    Result<String> ConvertToUiName(const Url& url, UI_NAME flags) override {
        return ConvertAssetUrlToUiName(url, flags, nullptr);
    }

private:
    static Bool IsOurs(const Url& url) { return url.GetScheme() == URLSCHEME_ASSET || url.GetScheme() == URLSCHEME_META; }

    /// The content of an asset may lie at the url of another one, and that at the first one's.
    static Result<ResolvedUrl> FollowToTheEnd(const Url& url) {
        ResolvedUrl resolved;
        resolved.target = TRY(url.IoNormalize(NORMALIZE::REAL_WHOLLY));
        if (!IsOurs(resolved.target)) return resolved;
        return IoError::Create(FormatMessage("The url @ leads to no content: @ leads back to itself.", url, resolved.target));
    }

    const ASSET_SCHEME _scheme;
};

}  // namespace

IoHandlerRef CreateAssetHandler(ASSET_SCHEME scheme) { return IoHandlerRef(new AssetIoHandlerImpl(scheme)); }

}  // namespace talvo
