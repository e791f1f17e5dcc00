#include "asset_browser/acceptance.h"

#include "asset_impl/config.h"
#include "category_asset.h"
#include "colorcategory_asset.h"
#include "command_asset.h"
#include "database_asset.h"
#include "kernel/app/application.h"
#include "keyword_asset.h"
#include "node_library.h"
#include "nodespace_asset.h"
#include "plugin_asset.h"
#include "smartsearch_asset.h"
#include "subtype_asset.h"

namespace talvo {

namespace {

using KIND = AcceptResult::KIND;

constexpr LiteralId EXISTING_NODES{"net.talvo.nodecategory.existingnodes"};
constexpr LiteralId NODE_CONTEXT{"net.talvo.assettype.nodecontext"};
constexpr LiteralId NODE_DESCRIPTION{"net.talvo.node.assettype.nodedescription"};
constexpr LiteralId PRESET{"net.talvo.assettype.preset"};
constexpr LiteralId MISSING_FILE{"net.talvo.asset.file.missingassets"};
constexpr LiteralId MISSING_PLUGIN{"net.talvo.asset.plugin.missing"};
constexpr LiteralId INTERNAL_MODULE{"net.talvo.asset.plugin.internalmodule"};

// Built-in categories that hold one kind of content.
constexpr LiteralId NODES_CATEGORY{"category@52d8f01357834200aa0dc28f0e61bbb3"};
constexpr LiteralId MATERIALS_CATEGORY{"category_a1ba084a9eeedb9b"};
constexpr LiteralId SCENES_CATEGORY{"category@4e785a69ef3749738bfd9d2b191535d5"};
constexpr LiteralId MODELS_CATEGORY{"category@3d2621c1bc48485aa2b7ceead989e421"};

/// The product in which some built-in entries have no use.
constexpr LiteralId REDUCED_APPLICATION{"net.talvo.application.kelvanto_dll"};
constexpr LiteralId UNUSED_CATEGORY{"category@ad0c84fa9daa419b9b8166c4a52a2e76"};
constexpr LiteralId UNUSED_SMART_SEARCHES[] = {"smartsearch@32791c126a7340848eb75940e0c5abf4",
                                               "smartsearch@cacfe8f628d848d4990d72e299d52461",
                                               "smartsearch@c69ec87146e342f49930d8c3fa473ec2"};

Bool IsReducedApplication() { return Application::GetApplicationId() == REDUCED_APPLICATION; }

AcceptResult Answer(Bool accepted, KIND kind = KIND::STRUCTURE) { return {accepted ? kind : KIND::HIDDEN, String()}; }

Result<Bool> ReadFlag(const AssetDescription& asset, const LiteralId& key) {
    const Opt<Bool> flag = TRY(asset->GetMetaData().Get<Bool>(key));
    return flag.value_or(false);
}

Result<Bool> IsVisible(const AssetDescription& asset) {
    const Bool isHidden = TRY(ReadFlag(asset, "net.talvo.description.data.info.hidden"_id));
    return !isHidden;
}

/// Kinds that only say something about other assets.
Bool IsNeverListed(const Id& type) {
    return type == ASSETTYPE_COLORCATEGORY || type == ASSETTYPE_DATABASE || type == ASSETTYPE_SUBTYPE || type == PRESET ||
           type == ASSETTYPE_NODESPACE;
}

Id GetCategory(const AssetDescription& asset, const AssetFacts* facts) {
    return facts ? facts->category : CategoryAssetInterface::GetParentCategory(asset);
}

Bool NeedsCategory(const Id& type) {
    return type == ASSETTYPE_CATEGORY || type == ASSETTYPE_COLORCATEGORY || type == NODE_CONTEXT || type == ASSETTYPE_KEYWORD ||
           type == ASSETTYPE_PLUGIN;
}

}  // namespace

Acceptance::Acceptance(const ListingRequest& request, ListingTexts& texts, FilterExpressionRef expression, FilterCaches& caches)
    : _request(request), _texts(texts), _expression(std::move(expression)), _caches(caches) {}

Result<void> Acceptance::PrepareParents() {
    for (const Id& text : _request.settings.parentSelection) {
        const IdAndVersion identity = TRY(AssetIdentityText::Read(text));
        TRY(_parents.Insert(identity.first));
    }
    _directParents = _parents;
    if (_request.settings.filter.localFilterMode && _request.mode == ASSET_BROWSE_MODE::CATEGORY_TREE) _treeParents = _parents;
    if (_request.restrictToParents && _request.options.showSubContent) TRY(AddSubCategories());
    return OK;
}

/// Everything below a selected category counts as selected.
Result<void> Acceptance::AddSubCategories() {
    _withSubContent = true;
    const auto mode = ASSET_FIND_MODE::LATEST | ASSET_FIND_MODE::RANDOM_ORDER | ASSET_FIND_MODE::CANCELLABLE;
    const Id types[] = {ASSETTYPE_CATEGORY};
    TRY(FindAssets(_request.lookupRepository, types, Id(), Id(), mode, [&](const AssetDescription& found) -> Result<Bool> {
        std::vector<Id> path = {found->GetIdAndVersion().first};
        for (Id parent = CategoryAssetInterface::GetParentCategory(found); parent.IsPopulated();) {
            if (_parents.Contains(parent)) {
                for (const Id& id : path) TRY(_parents.Insert(id));
                break;
            }
            // A chain that leads back into itself leads nowhere.
            if (std::find(path.begin(), path.end(), parent) != path.end()) break;
            path.push_back(parent);
            const ListingTexts::Category& category = TRY_REF(_texts.GetCategory(parent));
            parent = category.id == parent ? CategoryAssetInterface::GetParentCategory(category.asset) : Id();
        }
        return true;
    }));
    return OK;
}

Result<AcceptResult> Acceptance::Accept(const AssetDescription& asset, Bool asParent, const AssetFacts* facts) {
    return _request.mode == ASSET_BROWSE_MODE::CATEGORY_TREE ? AcceptInTree(asset, asParent, facts) : AcceptInList(asset, facts);
}

Result<AcceptResult> Acceptance::AcceptInList(const AssetDescription& asset, const AssetFacts* facts) {
    const Id& type = asset->GetTypeId();
    const Id& aid = asset->GetIdAndVersion().first;
    Id category;
    if (_request.restrictToParents || NeedsCategory(type)) {
        const Bool isOutOfPlace = TRY(IsOutOfPlace(asset, type, category, facts));
        if (isOutOfPlace) return Answer(false);
    }
    const Bool isListed = TRY(IsListed(asset, type, aid, category, facts));
    if (!isListed) return Answer(false);
    AcceptResult accepted = Answer(true);
    if (_expression) {
        const Bool isOut = TRY(IsFilteredOut(asset, accepted.matchText, facts));
        if (isOut) return Answer(false);
        if (_request.restrictToParents && type != ASSETTYPE_CATEGORY) TRY(_expression->Accept(aid));
    }
    if (_request.options.missingAssets && _request.mode == ASSET_BROWSE_MODE::ASSET_LIST) {
        const Bool isBroken = TRY(DependsOnMissing(asset));
        if (!isBroken) return Answer(false);
    }
    return accepted;
}

Result<Bool> Acceptance::IsSelectedCategory(const Id& category) {
    const ListingTexts::Category& found = TRY_REF(_texts.GetCategory(category));
    return _parents.Contains(found.id);
}

Bool Acceptance::IsContent(const Id& type) {
    return type != ASSETTYPE_CATEGORY && type != ASSETTYPE_SMARTSEARCH && type != ASSETTYPE_KEYWORD &&
           type != ASSETTYPE_NODETEMPLATE;
}

/// @param category gets the category that counts.
Result<Bool> Acceptance::IsOutOfPlace(const AssetDescription& asset, const Id& type, Id& category, const AssetFacts* facts) {
    const ListingTexts::Category& found = TRY_REF(_texts.GetCategory(GetCategory(asset, facts)));
    category = found.id;
    if (category == NODE_CATEGORY_UNCATEGORIZED) {
        if (type == ASSETTYPE_CATEGORY) return true;
        if (!_request.hasSmartSearch && NeedsCategory(type)) return true;
    }
    return _request.restrictToParents && !_parents.Contains(category);
}

Result<Bool> Acceptance::IsListed(const AssetDescription& asset, const Id& type, const Id& aid, const Id& category,
                                  const AssetFacts* facts) {
    const Bool isBuilder = g_assetBuilderSettings.Get();
    if (IsNeverListed(type)) return false;
    if (type == ASSETTYPE_CATEGORY && _withSubContent) return _directParents.Contains(category);
    if (type == ASSETTYPE_FILE && aid == MISSING_FILE) return false;
    if (type == ASSETTYPE_KEYWORD && aid == KEYWORD_FAVOURITE && _request.mode != ASSET_BROWSE_MODE::CATEGORY_TREE) return false;
    if (type == ASSETTYPE_PLUGIN) {
        if (aid == MISSING_PLUGIN) return false;
        const Opt<Id> read = facts ? Opt<Id>() : TRY(asset->GetMetaData().Get<Id>(ASSETMETADATA::SUBTYPE));
        const Bool isInternal = (facts && facts->subtype == INTERNAL_MODULE) || (read && *read == INTERNAL_MODULE);
        if (isInternal && !isBuilder) return false;
    }
    if (type == ASSETTYPE_COMMAND) {
        if (_request.settings.skipCommandAssets) return false;
        const Bool isHidden = TRY(ReadFlag(asset, COMMANDMETADATA::HIDDEN));
        if (isHidden && !_request.settings.showHiddenCommands) return false;
    }
    if (type == ASSETTYPE_NODETEMPLATE) return AssetBrowserInterface::IsNodeHidden(asset, _request.settings.nodeSystemClass);
    if (type == NODE_DESCRIPTION && !g_allowNodeDescriptionAsset2024.Get()) return false;
    return facts ? Result<Bool>(!facts->isHidden) : IsVisible(asset);
}

Result<Bool> Acceptance::IsFilteredOut(const AssetDescription& asset, String& matchText, const AssetFacts* facts) {
    return _expression->IsFilteredOut(asset, matchText, _caches, facts);
}

Result<AcceptResult> Acceptance::AcceptInTree(const AssetDescription& asset, Bool asParent, const AssetFacts* facts) {
    const Id& type = asset->GetTypeId();
    const Id& aid = asset->GetIdAndVersion().first;
    if (type == ASSETTYPE_CATEGORY) return AcceptCategory(asset, asParent, facts);
    if (type == ASSETTYPE_SMARTSEARCH) {
        const Bool isUnused = std::any_of(std::begin(UNUSED_SMART_SEARCHES), std::end(UNUSED_SMART_SEARCHES),
                                          [&](const Id& id) { return id == aid; });
        return Answer(!isUnused || !IsReducedApplication());
    }
    if (type == ASSETTYPE_KEYWORD) {
        const ListingTexts::Category& category = TRY_REF(_texts.GetCategory(GetCategory(asset, facts)));
        return Answer(category.id != NODE_CATEGORY_UNCATEGORIZED);
    }
    if (type == ASSETTYPE_NODETEMPLATE) {
        const Bool isListed = TRY(AssetBrowserInterface::IsNodeHidden(asset, _request.settings.nodeSystemClass));
        if (!isListed) return Answer(false);
    }
    if (!_request.IsNarrowed() || _request.categoryOnly) return Answer(true, KIND::CONTENT);
    AcceptResult accepted = TRY(AcceptInList(asset, facts));
    if (accepted.kind != KIND::HIDDEN) accepted.kind = KIND::CONTENT;
    return accepted;
}

Result<AcceptResult> Acceptance::AcceptCategory(const AssetDescription& asset, Bool asParent, const AssetFacts* facts) {
    const Id& aid = asset->GetIdAndVersion().first;
    if (aid == CATEGORY_WATCHFOLDERS) return Answer(asParent);
    if (aid == UNUSED_CATEGORY && IsReducedApplication()) return Answer(false);
    if (IsTiedToOtherContent(aid) || aid == EXISTING_NODES) return Answer(false);
    const Bool hasDelegate = _request.IsNarrowed() && !_request.categoryOnly;
    if (asParent) return Answer(true);
    if (!hasDelegate) {
        if (!_expression) return Answer(true);
        String matchText;
        const Bool isOut = TRY(IsFilteredOut(asset, matchText, facts));
        return Answer(!isOut);
    }
    return Answer(_treeParents.Contains(aid) || !_expression);
}

/// Whether the filter asks for content that never lies in this category.
Bool Acceptance::IsTiedToOtherContent(const Id& aid) const {
    if (!_expression) return false;
    const FilterTypeFlags& flags = _expression->GetTypeFlags();
    return (aid == NODES_CATEGORY && flags.hasNodeTemplate) ||
           (aid == MATERIALS_CATEGORY && (flags.hasMaterial || flags.hasModel)) || (aid == SCENES_CATEGORY && flags.hasScene) ||
           (aid == CATEGORY_PRESETS && flags.hasPreset) || (aid == MODELS_CATEGORY && flags.hasModel);
}

/// Whether what the asset needs, directly or not, leads to the stand-in for what is missing.
Result<Bool> Acceptance::DependsOnMissing(const AssetDescription& asset) {
    HashSet<Id> seen;
    std::vector<AssetDescription> open = {asset};
    while (!open.empty()) {
        const AssetDescription next = std::move(open.back());
        open.pop_back();
        const auto dependencies = TRY(next->GetMetaData().Get<BaseArray<AssetDependencyStruct>>(ASSETMETADATA::DEPENDENCIES));
        if (!dependencies) continue;
        for (const AssetDependencyStruct& dependency : *dependencies) {
            const Id& aid = dependency.assetIdAndVersion.first;
            if (aid == MISSING_FILE) return true;
            const Bool isNew = TRY(seen.Insert(aid));
            if (aid.IsEmpty() || !isNew) continue;
            const AssetDescription found =
                TRY(_request.lookupRepository->FindLatestAsset(dependency.assetTypeId, aid, Id(), ASSET_FIND_MODE::LATEST));
            if (found) open.push_back(found);
        }
    }
    return false;
}

}  // namespace talvo
