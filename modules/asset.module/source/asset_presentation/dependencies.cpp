// Colour bars, and what assets depend on.
#include "asset_presentation.h"
#include "colorcategory_asset.h"
#include "kernel/thread/locks.h"
#include "nodespace_asset.h"
#include "plugin_asset.h"

#include <algorithm>
#include <cmath>

namespace talvo {

namespace {

constexpr LiteralId MISSING_FILE{"net.talvo.asset.file.missingassets"};

/// IEC 61966-2-1.
Float64 ToScreen(Float64 linear) {
    constexpr Float64 LINEAR_LIMIT = 0.0031308, LINEAR_FACTOR = 12.92, SCALE = 1.055, OFFSET = 0.055, GAMMA = 2.4;
    return linear <= LINEAR_LIMIT ? LINEAR_FACTOR * linear : SCALE * std::pow(linear, 1 / GAMMA) - OFFSET;
}

Guarded<Id, ARWLock>& GetGuardedRenderer() {
    static Guarded<Id, ARWLock> id;
    return id;
}

Result<BaseArray<AssetDependencyStruct>> ReadDependencies(const AssetDescription& asset) {
    auto dependencies = TRY(asset->GetMetaData().Get<BaseArray<AssetDependencyStruct>>(ASSETMETADATA::DEPENDENCIES));
    return dependencies ? std::move(*dependencies) : BaseArray<AssetDependencyStruct>();
}

}  // namespace

Result<Opt<Color>> GetAssetColorBar(const AssetDescription& asset, const AssetRepositoryRef& lookupRepository) {
    return CatchOutOfMemory([&]() -> Result<Opt<Color>> {
        const auto [category, color] = ColorCategoryAssetInterface::GetColorCategory(asset, lookupRepository);
        if (category.IsEmpty()) return Opt<Color>();
        return Opt<Color>(Color{ToScreen(color.r), ToScreen(color.g), ToScreen(color.b)});
    });
}

Result<Bool> HasMissingDependencies(const AssetRepositoryRef& lookupRepository, const AssetDescription& asset,
                                    CheckedAssets& checked) {
    return CatchOutOfMemory([&]() -> Result<Bool> {
        if (!asset) return NullptrError::Create("There is no asset whose dependencies could be looked at.");
        Bool isMissing = false;
        std::vector<AssetDescription> open = {asset};
        // A chain of dependencies may be long, so it is walked without recursion.
        while (!open.empty() && !isMissing) {
            const AssetDescription next = std::move(open.back());
            open.pop_back();
            if (next->GetIdAndVersion().first == MISSING_FILE) return true;
            const BaseArray<AssetDependencyStruct> dependencies = TRY(ReadDependencies(next));
            // Known without looking anything up.
            const Bool isKnown = std::any_of(dependencies.begin(), dependencies.end(), [](const AssetDependencyStruct& one) {
                return one.assetIdAndVersion.first == MISSING_FILE;
            });
            if (isKnown) return true;
            for (const AssetDependencyStruct& dependency : dependencies) {
                TRY(AssetInterface::ResolveAssetsWithMissingAssets(
                    lookupRepository, dependency.assetTypeId, dependency.assetIdAndVersion, dependency.assetCreationDate, checked,
                    [&](const AssetDescription& found, CheckedAssets&) -> Result<void> {
                        open.push_back(found);
                        return OK;
                    },
                    [&](Bool) -> Result<void> {
                        isMissing = true;
                        return OK;
                    }));
            }
        }
        return isMissing;
    });
}

void SetRendererPluginId(const Id& id) {
    auto renderer = GetGuardedRenderer().Write();
    *renderer = id;
}

Id GetRendererPluginId() {
    auto renderer = GetGuardedRenderer().Read();
    return *renderer;
}

Result<Bool> HasQuenliteDependencies(const AssetDescription& ad) {
    return CatchOutOfMemory([&]() -> Result<Bool> {
        const Id renderer = GetRendererPluginId();
        if (!ad || renderer.IsEmpty()) return false;
        const BaseArray<AssetDependencyStruct> dependencies = TRY(ReadDependencies(ad));
        return std::any_of(dependencies.begin(), dependencies.end(), [&](const AssetDependencyStruct& dependency) {
            const Bool canBe = dependency.assetTypeId == ASSETTYPE_NODESPACE || dependency.assetTypeId == ASSETTYPE_PLUGIN;
            return canBe && dependency.assetIdAndVersion.first.GetView().find(renderer.GetView()) != std::string_view::npos;
        });
    });
}

}  // namespace talvo
