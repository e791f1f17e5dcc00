#include "assets/asset_identity.h"

#include "assets/asset_repository.h"

#include <string>
#include <string_view>

namespace talvo {

namespace {

constexpr std::string_view VERSION_MARK = "?=";
constexpr std::string_view REPOSITORY_MARK = "#=";

}  // namespace

String ToIdentityText(const IdAndVersion& identity) {
    std::string text(identity.first.GetView());
    text += '/';
    text += identity.second.GetView();
    return String(text);
}

Result<Id> AssetIdentityText::Write(const IdAndVersion& identity, const AssetRepositoryRef& repository) {
    return CatchOutOfMemory([&]() -> Result<Id> {
        std::string text(identity.first.GetView());
        if (identity.second.IsPopulated()) text.append(VERSION_MARK).append(identity.second.GetView());
        if (repository && repository->GetId().IsPopulated()) text.append(REPOSITORY_MARK).append(repository->GetId().GetView());
        return Id::Create(text);
    });
}

Result<IdAndVersion> AssetIdentityText::Read(const Id& text) {
    return CatchOutOfMemory([&]() -> Result<IdAndVersion> {
        std::string_view rest = text.GetView();
        rest = rest.substr(0, rest.find(REPOSITORY_MARK));
        const std::size_t mark = rest.find(VERSION_MARK);
        Id asset = TRY(Id::Create(rest.substr(0, mark)));
        if (mark == std::string_view::npos) return IdAndVersion(std::move(asset), Id());
        Id version = TRY(Id::Create(rest.substr(mark + VERSION_MARK.size())));
        return IdAndVersion(std::move(asset), std::move(version));
    });
}

}  // namespace talvo
