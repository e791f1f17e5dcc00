#include "apps/talvo/version_selector.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <vector>

namespace talvo::VersionSelector {

namespace {

constexpr std::size_t SHORTEST_PREFIX = 4;

ASSET_FIND_MODE ToFindMode(SCOPE scope) {
    return scope == SCOPE::REPOSITORY_ONLY ? ASSET_FIND_MODE::WITHOUT_BASES : ASSET_FIND_MODE::NONE;
}

ErrorRef MakeUnknownAssetError(const AssetRepositoryRef& repository, const Id& id) {
    return UnresolvedError::Create(FormatMessage("There is no asset \"@\" in the repository \"@\".", id, repository->GetId()));
}

std::string_view GetVersionId(const AssetDescription& description) { return description->GetIdAndVersion().second.GetView(); }

std::string MakeCandidates(const std::vector<AssetDescription>& descriptions) {
    std::string text;
    for (const AssetDescription& description : descriptions) {
        text += FormatMessage("\n  #@  @  (repository @)", description.GetVersionKey().counter, GetVersionId(description),
                              description->GetRepositoryId());
    }
    return text;
}

Opt<UInt> ParseCounter(std::string_view version) {
    UInt counter = 0;
    const char* end = version.data() + version.size();
    const auto [last, problem] = std::from_chars(version.data() + 1, end, counter);
    return problem == std::errc() && last == end ? Opt<UInt>(counter) : Opt<UInt>();
}

std::vector<AssetDescription> Filter(const BaseArray<AssetDescription>& versions, auto&& fits) {
    std::vector<AssetDescription> found;
    std::copy_if(versions.begin(), versions.end(), std::back_inserter(found), fits);
    return found;
}

// Versions that `version` names; of one version id only the newest.
Result<std::vector<AssetDescription>> FindNamed(const BaseArray<AssetDescription>& versions, std::string_view version) {
    if (version.starts_with('#')) {
        const Opt<UInt> counter = ParseCounter(version);
        if (!counter)
            return IllegalArgumentError::Create(FormatMessage("\"@\" is no version: a number stands behind \"#\".", version));
        return Filter(versions, [&](const AssetDescription& d) { return d.GetVersionKey().counter == *counter; });
    }
    std::vector<AssetDescription> found = Filter(versions, [&](const AssetDescription& d) { return GetVersionId(d) == version; });
    if (found.empty() && version.size() >= SHORTEST_PREFIX)
        found = Filter(versions, [&](const AssetDescription& d) { return GetVersionId(d).starts_with(version); });
    std::vector<AssetDescription> newest;
    for (const AssetDescription& description : found) {
        const auto same = [&](const AssetDescription& other) { return GetVersionId(other) == GetVersionId(description); };
        if (std::none_of(newest.begin(), newest.end(), same)) newest.push_back(description);
    }
    return newest;
}

Result<AssetDescription> SelectNewest(const AssetRepositoryRef& repository, const Id& id, SCOPE scope) {
    const ASSET_FIND_MODE mode = ASSET_FIND_MODE::LATEST | ToFindMode(scope);
    AssetDescription newest = TRY(repository->FindLatestAsset(Id(), id, Id(), mode));
    if (newest) return newest;
    const AssetDescription deleted = TRY(repository->FindLatestAsset(Id(), id, Id(), mode | ASSET_FIND_MODE::WITH_DELETED));
    if (!deleted) return MakeUnknownAssetError(repository, id);
    return UnresolvedError::Create(
        FormatMessage("The asset \"@\" is deleted. Its versions are still there: \"talvo list REPO --prefix @ "
                      "--all-versions --deleted\" lists them, and --version names one.",
                      id, id));
}

}  // namespace

Bool IsNewer(const AssetDescription& first, const AssetDescription& second) {
    const auto order = first.GetVersionKey() <=> second.GetVersionKey();
    return order != 0 ? order > 0 : first->GetRepositoryId() < second->GetRepositoryId();
}

Result<BaseArray<AssetDescription>> GetVersions(const AssetRepositoryRef& repository, const Id& id, SCOPE scope) {
    BaseArray<AssetDescription> versions;
    const ASSET_FIND_MODE mode = ASSET_FIND_MODE::ALL_VERSIONS | ASSET_FIND_MODE::WITH_DELETED | ToFindMode(scope);
    TRY(FindAssets(repository, {}, id, Id(), mode, [&](const AssetDescription& description) -> Result<Bool> {
        TRY(versions.Append(description));
        return true;
    }));
    std::sort(versions.begin(), versions.end(), IsNewer);
    return versions;
}

Result<AssetDescription> Select(const AssetRepositoryRef& repository, const std::string& idText, const Opt<std::string>& version,
                                SCOPE scope) {
    const Id id = TRY(Id::Create(idText));
    if (!version || id.IsEmpty()) return SelectNewest(repository, id, scope);
    const BaseArray<AssetDescription> versions = TRY(GetVersions(repository, id, scope));
    if (versions.IsEmpty()) return MakeUnknownAssetError(repository, id);
    const std::vector<AssetDescription> found = TRY(FindNamed(versions, *version));
    if (found.size() == 1) return found.front();
    if (found.empty()) return UnresolvedError::Create(FormatMessage("The asset \"@\" has no version \"@\".", id, *version));
    return IllegalArgumentError::Create(
        FormatMessage("\"@\" names several versions of \"@\":@", *version, id, MakeCandidates(found)));
}

}  // namespace talvo::VersionSelector
