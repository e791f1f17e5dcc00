#include "browser_filter/asset_evaluation.h"

#include "asset_downloads.h"
#include "browser_filter/local_day.h"
#include "browser_filter/value_forms.h"
#include "category_asset.h"
#include "command_asset.h"
#include "keyword_asset.h"

#include <algorithm>
#include <bit>

namespace talvo {

namespace {

constexpr LiteralId ANNOTATIONS{"net.talvo.object.base.annotations"};
constexpr LiteralId PROXY{"net.talvo.assetmetadata.proxygeometry"};
constexpr std::string_view PROPERTIES_PREFIX = "net.talvo.asset.metaproperties.";
constexpr const char* DAY_FORM = "%Y-%m-%d";

const ConditionMatch NOT_MET;

/// The first alternative for which `matches` holds, or null.
template <typename MATCHES>
const String* FindAlternative(const FilterCondition& condition, MATCHES&& matches) {
    for (const String& value : condition.values) {
        if (matches(value)) return &value;
    }
    return nullptr;
}

ConditionMatch Met(String text = String()) { return {true, std::move(text)}; }

/// Folders that are watched are no repositories of this module yet.
Bool IsWatchFolderRepository(const AssetRepositoryRef&) { return false; }

}  // namespace

void AppendMatchText(String& text, const String& more) {
    if (more.IsEmpty()) return;
    if (text.IsPopulated()) text += String(", ");
    text += more;
}

void AssetEvaluation::Note(const char* what, const String& value) {
    if (_reads) _reads->emplace_back(String(what), value);
}

Result<ConditionMatch> AssetEvaluation::NoValue(const char* what) {
    Note(what, String("none"));
    return NOT_MET;
}

Result<ConditionMatch> AssetEvaluation::Test(const FilterCondition& condition) {
    if (condition.key.IsEmpty()) return TestFreeText(condition);
    const Id& key = condition.key.GetId();
    if (key == OBJECT_BASE_NAME) return TestName(condition);
    if (key == ASSETMETADATA::SUBTYPE) return TestType(condition);
    if (key == ASSETMETADATA::KEYWORDS) return TestKeywords(condition, COUNTS::ALLOWED);
    if (key == ANNOTATIONS) return TestAnnotations(condition);
    if (key == FILTERKEY::CATEGORYID) return TestCategory(condition);
    if (key == FILTERKEY::KEYWORDID || key == FILTERKEY::KEYWORDCOUNT) return TestKeywordIds(condition);
    if (key == FILTERKEY::DATABASE || key == FILTERKEY::DATABASETYPE) return TestDatabase(condition);
    if (key == FILTERKEY::SCOPE) return TestScope(condition);
    if (key == FILTERKEY::ASSETID) {
        const String id = String::FromId(GetAssetId());
        Note("asset id", id);
        return ConditionMatch{FindAlternative(condition, [&](const String& value) { return ContainsText(id, value); }) != nullptr,
                              {}};
    }
    // What comes now is no question for categories.
    if (IsOf(ASSETTYPE_CATEGORY)) return NOT_MET;
    if (key == ASSETMETADATA::DEPENDENCIES || key == FILTERKEY::DEPENDENCYCOUNT) return TestDependencies(condition);
    return TestProperty(condition);
}

Result<ConditionMatch> AssetEvaluation::TestAsReference(const FilterCondition& condition, Bool isKeyword) {
    const Id& key = condition.key.GetId();
    if (key == ASSETMETADATA::SUBTYPE && !isKeyword) {
        const std::string_view id = GetAssetId().GetView();
        if (FindAlternative(condition, [&](const String& value) { return MatchId(id, value); })) return Met();
    }
    const Id& own = isKeyword ? static_cast<const Id&>(ASSETMETADATA::KEYWORDS) : static_cast<const Id&>(ASSETMETADATA::SUBTYPE);
    if (condition.key.IsPopulated() && key != own) return NOT_MET;
    if (isKeyword) {
        const ConditionMatch match = TRY(TestKeywords(condition, COUNTS::TEXT_ONLY));
        if (match.isMet) return match;
    }
    return TestName(condition);
}

Result<ConditionMatch> AssetEvaluation::TestFreeText(const FilterCondition& condition) {
    const ConditionMatch match = TRY(TestKeywords(condition, COUNTS::TEXT_ONLY));
    return match.isMet ? Result<ConditionMatch>(match) : TestName(condition);
}

Result<ConditionMatch> AssetEvaluation::TestType(const FilterCondition& condition) {
    const Id& type = _asset->GetTypeId();
    Note("type", String::FromId(type));
    if (FindAlternative(condition, [&](const String& value) { return MatchId(type.GetView(), value); })) return Met();
    const Opt<Id> read = _facts ? Opt<Id>() : TRY(_asset->GetMetaData().Get<Id>(ASSETMETADATA::SUBTYPE));
    const Id* subtype = _facts ? &_facts->subtype : read ? &*read : nullptr;
    Note("subtype", subtype ? String::FromId(*subtype) : String());
    if (subtype && FindAlternative(condition, [&](const String& value) { return MatchId(subtype->GetView(), value); }))
        return Met();
    const Bool isObject = type == ASSETTYPE_NODETEMPLATE && NodeLibrary::IsMorvaneObjectAsset(_asset);
    return isObject && FindAlternative(condition, [](const String& value) { return value.GetView() == "NODE_OM"; }) ? Met()
                                                                                                                    : NOT_MET;
}

Result<ConditionMatch> AssetEvaluation::TestAnnotations(const FilterCondition& condition) {
    // A text of a language, or one for all.
    String text = TRY(_asset->GetMetaString(condition.key, nullptr, String()));
    if (text.IsEmpty()) {
        const Opt<String> plain = TRY(_asset->GetMetaData().Get<String>(condition.key));
        text = plain.value_or(String());
    }
    Note("annotations", text);
    return FindAlternative(condition, [&](const String& value) { return ContainsText(text, value); }) ? Met() : NOT_MET;
}

Result<ConditionMatch> AssetEvaluation::TestDependencies(const FilterCondition& condition) {
    const auto dependencies = TRY(_asset->GetMetaData().Get<BaseArray<AssetDependencyStruct>>(ASSETMETADATA::DEPENDENCIES));
    const Int count = dependencies ? dependencies->GetCount() : 0;
    Note("dependencies", String(std::to_string(count)));
    if (count == 0) return NOT_MET;
    if (condition.key == InternedId(FILTERKEY::DEPENDENCYCOUNT)) {
        const Bool isMet =
            FindAlternative(condition, [&](const String& value) { return MatchesNumber(count, value); }) != nullptr;
        return isMet ? Met(String(FormatMessage("@:@", condition.key, count))) : NOT_MET;
    }
    for (const String& value : condition.values) {
        if (IsComparison(value)) {
            if (MatchesNumber(count, value)) return Met(String(std::to_string(count)) + value);
            continue;
        }
        for (const AssetDependencyStruct& dependency : *dependencies) {
            const auto& [aid, version] = dependency.assetIdAndVersion;
            const String name =
                TRY(GetAssetTypeName(_context.lookupRepository, dependency.assetTypeId, aid, version, false, &_caches.typeNames));
            Note("dependency", name);
            if (ContainsText(name, value)) return Met(name);
        }
        for (const AssetDependencyStruct& dependency : *dependencies) {
            const String id = String::FromId(dependency.assetIdAndVersion.first);
            if (ContainsText(id, value)) return Met(id);
        }
    }
    return NOT_MET;
}

Result<ConditionMatch> AssetEvaluation::TestKeywords(const FilterCondition& condition, COUNTS counts) {
    const Block<const Id> keywords = TRY(GetKeywords());
    for (const String& value : condition.values) {
        if (counts == COUNTS::ALLOWED && IsComparison(value)) {
            if (MatchesNumber(Int64(keywords.size()), value)) return Met(String(std::to_string(keywords.size())) + value);
            continue;
        }
        for (const Id& keyword : keywords) {
            const String& name = TRY_REF(_caches.GetKeywordName(_context.lookupRepository, keyword));
            if (name.IsPopulated() && ContainsText(name, value)) return Met(name);
        }
    }
    return NOT_MET;
}

Result<ConditionMatch> AssetEvaluation::TestKeywordIds(const FilterCondition& condition) {
    const Block<const Id> keywords = TRY(GetKeywords());
    const auto count = Int64(keywords.size());
    const Bool isCount = condition.key == InternedId(FILTERKEY::KEYWORDCOUNT);
    for (const String& value : condition.values) {
        if (isCount || IsComparison(value)) {
            if (MatchesNumber(count, value)) return Met(String(std::to_string(count)) + (isCount ? String() : value));
            continue;
        }
        for (const Id& keyword : keywords) {
            const String id = String::FromId(keyword);
            if (ContainsText(id, value)) return Met(id);
        }
    }
    return NOT_MET;
}

Result<Bool> IsInMatchingCategory(const FilterCondition& condition, Id category, const AssetRepositoryRef& repository,
                                  FilterCaches& caches, std::vector<String>* met) {
    if (category.IsEmpty()) category = NODE_CATEGORY_UNCATEGORIZED;
    // Categories may stand in a circle: one is remembered, at ever longer distances, until it comes again.
    Id remembered;
    for (UInt step = 0; category.IsPopulated() && category != remembered; ++step) {
        const String id = String::FromId(category);
        if (met) met->push_back(id);
        if (FindAlternative(condition, [&](const String& value) { return ContainsText(id, value); })) return true;
        if (category == NODE_CATEGORY_UNCATEGORIZED) break;
        if (std::has_single_bit(step + 1)) remembered = category;
        category = TRY_REF(caches.GetParentCategory(repository, category));
    }
    return false;
}

Result<ConditionMatch> AssetEvaluation::TestCategory(const FilterCondition& condition) {
    if (IsOf(ASSETTYPE_CATEGORY)) return NOT_MET;
    const Id category = _facts ? _facts->category : CategoryAssetInterface::GetParentCategory(_asset);
    std::vector<String> met;
    const Bool isIn = TRY(IsInMatchingCategory(condition, category, _context.lookupRepository, _caches, _reads ? &met : nullptr));
    for (const String& id : met) Note("category", id);
    return isIn ? Met() : NOT_MET;
}

Result<ConditionMatch> AssetEvaluation::TestProperty(const FilterCondition& condition) {
    const Id& key = condition.key.GetId();
    if (key == ASSETMETADATA::TIMESTAMP) {
        const auto time = TRY(_asset->GetMetaData().Get<UniversalDateTime>(ASSETMETADATA::TIMESTAMP));
        return TestDate(condition, time.value_or(UniversalDateTime()));
    }
    if (key == FILTERKEY::LASTUSEDATE) {
        const Opt<AssetUsage> usage = TRY(_asset->GetMetaData().Get<AssetUsage>(ASSETMETADATA::USAGE));
        return TestDate(condition, usage ? std::get<0>(*usage) : UniversalDateTime());
    }
    if (key == FILTERKEY::USECOUNT) return TestUseCount(condition);
    if (key == ASSETMETADATA::PREVIEWIMAGEURL || key == ASSETMETADATA::PREVIEWANIMURL || key == PROXY) return TestUrl(condition);
    if (key == FILTERKEY::VERSIONCOUNT || key == ASSETMETADATA::VERSIONTAG) return TestVersions(condition);
    if (key == FILTERKEY::SIZE) return TestSize(condition);
    if (key == FILTERKEY::INSTALLED || key == FILTERKEY::DOWNLOADING) {
        const ASSET_DOWNLOAD_STATE state = TRY(AssetDownloads::GetDownloadState(_asset));
        const Bool isInstalled = key == FILTERKEY::INSTALLED;
        const auto wanted = isInstalled ? ASSET_DOWNLOAD_STATE::CACHED : ASSET_DOWNLOAD_STATE::QUEUED;
        return TestBool(condition, isInstalled ? "installed" : "downloading", state == wanted);
    }
    if (key == FILTERKEY::PROTECTED) {
        const AssetRepositoryRef repository = _asset->GetRepository();
        return TestBool(condition, "protected", !repository || !repository->IsWritable());
    }
    if (key == FILTERKEY::FAVORITE) return TestBool(condition, "favourite", KeywordAssetInterface::IsFavouriteAsset(_asset));
    if (!key.GetView().starts_with(PROPERTIES_PREFIX)) return NOT_MET;
    const FilterKeyword* keyword = FindKeywordOfKey(key);
    switch (keyword ? keyword->form : VALUE_FORM::TEXT) {
        case VALUE_FORM::NUMBER: return TestNumberProperty(condition);
        case VALUE_FORM::FLOAT: return TestFloatProperty(condition);
        case VALUE_FORM::LENGTH: return TestDimensions(condition);
        default: break;
    }
    const DataDictionary& properties = TRY_REF(GetProperties());
    const Opt<Id> id = properties.Get<Id>(key);
    const String text = properties.Get<String>(key).value_or(id ? String::FromId(*id) : String());
    if (text.IsEmpty()) return NoValue("property");
    Note("property", text);
    const Bool isOrdered = keyword && keyword->form == VALUE_FORM::ORDERED_TEXT;
    const auto matches = [&](const String& value) {
        return isOrdered ? MatchesOrderedText(text, value) : ContainsText(text, value);
    };
    return FindAlternative(condition, matches) ? Met() : NOT_MET;
}

Result<ConditionMatch> AssetEvaluation::TestDate(const FilterCondition& condition, UniversalDateTime time) {
    if (time.IsEmpty()) return NoValue("date");
    const String text(time.FormatLocal(DAY_FORM));
    Note("date", text);
    const Int64 day = GetLocalDay(time);
    return FindAlternative(condition, [&](const String& value) { return MatchesDate(day, value); }) ? Met(text) : NOT_MET;
}

Result<ConditionMatch> AssetEvaluation::TestUseCount(const FilterCondition& condition) {
    const Opt<AssetUsage> usage = TRY(_asset->GetMetaData().Get<AssetUsage>(ASSETMETADATA::USAGE));
    const Int count = usage ? std::get<1>(*usage) : 0;
    Note("use count", String(std::to_string(count)));
    const Bool isMet = FindAlternative(condition, [&](const String& value) { return MatchesNumber(count, value); }) != nullptr;
    return isMet ? Met(String(FormatMessage(LoadGlobalString("assetfilterusecount").GetView(), count))) : NOT_MET;
}

Result<ConditionMatch> AssetEvaluation::TestUrl(const FilterCondition& condition) {
    const Opt<Url> url = TRY(_asset->GetMetaData().Get<Url>(condition.key));
    return TestBool(condition, "url", url && url->IsPopulated());
}

Result<ConditionMatch> AssetEvaluation::TestBool(const FilterCondition& condition, const char* what, Bool answer) {
    Note(what, String(answer ? "yes" : "no"));
    return FindAlternative(condition, [&](const String& value) { return MatchesBool(answer, value); }) ? Met() : NOT_MET;
}

Result<ConditionMatch> AssetEvaluation::TestSize(const FilterCondition& condition) {
    const Int64 size = TRY(AssetDownloads::GetAssetFileSize(_asset));
    if (size < 0) return NoValue("size");
    Note("size", String(std::to_string(size)));
    const Bool isMet = FindAlternative(condition, [&](const String& value) { return MatchesNumber(size, value); }) != nullptr;
    return isMet ? Met(WriteByteCount(size)) : NOT_MET;
}

Result<ConditionMatch> AssetEvaluation::TestVersions(const FilterCondition& condition) {
    const std::vector<AssetDescription>& versions = TRY_REF(GetVersions());
    const auto count = Int64(versions.size());
    Note("versions", String(std::to_string(count)));
    const Bool isCount = condition.key == InternedId(FILTERKEY::VERSIONCOUNT);
    for (const String& value : condition.values) {
        if (isCount || IsComparison(value)) {
            if (MatchesNumber(count, value)) return Met(String(std::to_string(count)) + (isCount ? String() : value));
            continue;
        }
        for (const AssetDescription& version : versions) {
            const Opt<String> tag = TRY(version->GetMetaData().Get<String>(condition.key));
            if (tag) Note("tag of a version", *tag);
            if (tag && ContainsText(*tag, value)) return Met(*tag);
        }
    }
    return NOT_MET;
}

Result<ConditionMatch> AssetEvaluation::TestDatabase(const FilterCondition& condition) {
    const Bool isType = condition.key == InternedId(FILTERKEY::DATABASETYPE);
    const std::vector<AssetDescription>& versions = TRY_REF(GetVersions());
    std::vector<AssetRepositoryRef> seen;
    for (const AssetDescription& version : versions) {
        const AssetRepositoryRef repository = version->GetRepository();
        if (!repository || std::find(seen.begin(), seen.end(), repository) != seen.end()) continue;
        seen.push_back(repository);
        const String id = String::FromId(repository->GetId());
        String name(IsWatchFolderRepository(repository) ? "WATCHFOLDER" : "DATABASE");
        if (!isType) name = TRY(repository->GetRepositoryName(nullptr, false));
        Note("database", name + String(" ") + id);
        const auto matches = [&](const String& value) { return ContainsText(name, value) || ContainsText(id, value); };
        if (FindAlternative(condition, matches)) return Met();
    }
    return NOT_MET;
}

Result<ConditionMatch> AssetEvaluation::TestScope(const FilterCondition& condition) {
    if (!IsOf(ASSETTYPE_COMMAND)) return NOT_MET;
    const BaseArray<Id> scopes = TRY(CommandAssetInterface::GetCommandScopes(_asset));
    for (const Id& scope : scopes) {
        const String name = CommandAssetInterface::GetCommandScopeName(scope);
        std::string_view tail = scope.GetView();
        if (tail.starts_with(COMMANDSCOPE::PREFIX.GetView())) tail.remove_prefix(COMMANDSCOPE::PREFIX.GetLength());
        const String tailText(tail);
        Note("scope", name);
        const auto matches = [&](const String& value) { return ContainsText(name, value) || ContainsText(tailText, value); };
        if (FindAlternative(condition, matches)) return Met();
    }
    if (!scopes.IsEmpty()) return NOT_MET;
    const Opt<String> legacy = TRY(_asset->GetMetaData().Get<String>(COMMANDMETADATA::LEGACYSCOPE));
    if (!legacy) return NOT_MET;
    return FindAlternative(condition, [&](const String& value) { return ContainsText(*legacy, value); }) ? Met() : NOT_MET;
}

}  // namespace talvo
