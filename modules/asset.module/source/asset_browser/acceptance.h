// Which assets a view lists: first the fixed rules by type, then the filter.
#pragma once

#include "asset_browser/listing_request.h"
#include "asset_browser/listing_texts.h"
#include "browser_filter/filter_expression.h"

namespace talvo {

/// What becomes of an asset.
struct AcceptResult {
    enum class KIND : UChar {
        HIDDEN,
        STRUCTURE,  ///< a row of the tree: category, keyword, smart search; in a list: listed
        CONTENT     ///< in the tree: what makes its category appear
    };
    KIND kind = KIND::HIDDEN;
    String matchText;
};

/// Threads: as a plain value, of one update.
class Acceptance {
public:
    /// @param expression null: nothing narrows.
    Acceptance(const ListingRequest& request, ListingTexts& texts, FilterExpressionRef expression, FilterCaches& caches);

    /// Collects what lies in the selected categories, if only that is to be listed. Errors: those of the lookup.
    Result<void> PrepareParents();
    /// @param facts what is known of the asset; null: it is read. Errors: those of reading metadata; the asset is then passed over.
    Result<AcceptResult> Accept(const AssetDescription& asset, Bool asParent, const AssetFacts* facts = nullptr);
    /// Whether what lies in this category lies in a selected one, or below one if that counts. Errors: those of the lookup.
    Result<Bool> IsSelectedCategory(const Id& category);
    /// Whether an asset of this type has no row of its own in a tree, and is judged by nothing but the filter there.
    static Bool IsContent(const Id& type);
    const FilterExpressionRef& GetExpression() const { return _expression; }
    FilterCaches& GetCaches() const { return _caches; }

private:
    Result<void> AddSubCategories();
    Result<AcceptResult> AcceptInList(const AssetDescription& asset, const AssetFacts* facts);
    Result<AcceptResult> AcceptInTree(const AssetDescription& asset, Bool asParent, const AssetFacts* facts);
    Result<AcceptResult> AcceptCategory(const AssetDescription& asset, Bool asParent, const AssetFacts* facts);
    Result<Bool> IsListed(const AssetDescription& asset, const Id& type, const Id& aid, const Id& category,
                          const AssetFacts* facts);
    Result<Bool> IsOutOfPlace(const AssetDescription& asset, const Id& type, Id& category, const AssetFacts* facts);
    Bool IsTiedToOtherContent(const Id& aid) const;
    Result<Bool> IsFilteredOut(const AssetDescription& asset, String& matchText, const AssetFacts* facts);
    Result<Bool> DependsOnMissing(const AssetDescription& asset);

    const ListingRequest& _request;
    ListingTexts& _texts;
    const FilterExpressionRef _expression;
    FilterCaches& _caches;
    HashSet<Id> _parents;
    HashSet<Id> _directParents;
    HashSet<Id> _treeParents;
    Bool _withSubContent = false;
};

}  // namespace talvo
