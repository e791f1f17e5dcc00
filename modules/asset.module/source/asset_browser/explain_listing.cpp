#include "asset_browser/asset_walk.h"
#include "asset_filter.h"

namespace talvo {

namespace {

using LAYER = ListingExplanation::LAYER;

Result<void> ExplainConditions(const AssetDescription& asset, const FilterExpression& expression, FilterCaches& caches,
                               ListingExplanation& explanation) {
    for (Int i = 0; i < expression.GetConditions().GetCount(); ++i) {
        ConditionReport report = TRY(expression.Explain(asset, i, caches));
        if (!report.isMet && explanation.decidedBy != LAYER::FILTER) {
            explanation.decidedBy = LAYER::FILTER;
            explanation.reason =
                String("It doesn't meet ") + DescribeFilterCondition(expression.GetConditions()[i], 0) + String(".");
        }
        TRY(explanation.conditions.Append(
            {expression.GetConditions()[i], report.isMet, std::move(report.matchText), std::move(report.reads)}));
    }
    if (expression.GetConditions().IsEmpty()) {
        explanation.decidedBy = LAYER::FILTER;
        explanation.reason = String("The filter has no condition, so nothing meets it.");
    }
    return OK;
}

}  // namespace

Result<ListingExplanation> ExplainListing(const AssetDescription& asset, const FilterPieces& pieces,
                                          const AssetRepositoryRef& lookupRepository) {
    return CatchOutOfMemory([&]() -> Result<ListingExplanation> {
        if (!asset || !lookupRepository) return NullptrError::Create("There is no asset or no repository to explain.");
        BrowserSettings settings;
        // Without a place to look in, the place doesn't decide.
        settings.filter = {pieces.masterFilter, pieces.groupFilter, pieces.sortFilter, pieces.filterString, false, false};
        const ListingRequest request =
            TRY(ListingRequest::Create(ASSET_BROWSE_MODE::ASSET_LIST, std::move(settings), lookupRepository));
        ListingExplanation explanation;
        const auto decide = [&](LAYER layer, const char* reason) {
            explanation.decidedBy = layer;
            explanation.reason = String(reason);
        };
        FilterCaches caches;
        FilterExpressionRef expression;
        if (!request.termText.empty()) {
            expression = TRY(FilterExpression::Create({lookupRepository, nullptr, 0}, request.termText, caches));
            TRY(ExplainConditions(asset, *expression, caches, explanation));
        }
        ListingTexts texts(lookupRepository, UniversalDateTime());
        Acceptance rules(request, texts, nullptr, caches);
        const AcceptResult accepted = TRY(rules.Accept(asset, false));
        if (accepted.kind == AcceptResult::KIND::HIDDEN)
            decide(LAYER::RULES, "Assets of this type, or flagged as this one is, are not shown in lists.");
        const Bool isValid = TRY(AssetInterface::IsAssetValid(asset));
        if (!isValid) decide(LAYER::WALK, "It is for another version of the application.");
        if (explanation.decidedBy == LAYER::LISTED) explanation.reason = String("It meets each condition.");
        return explanation;
    });
}

}  // namespace talvo
