// Which assets meet a filter and what is told as the reason, one table over all keywords.
#include "browser_filter/filter_expression.h"
#include "browser_filter/smart_search_text.h"
#include "fuzz/filter_library.h"
#include "smartsearch_asset.h"
#include "support/asset_test_support.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <random>
#include <sstream>

namespace talvo {
namespace {

constexpr const char* BOX = "net.talvo.asset.metaproperties.tv3file.boundingbox";

class FilterEvaluation : public testing::Test {
protected:
    FilterEvaluation() { Resource::SetCurrentLanguage(Resource::GetDefaultLanguage()); }

    /// "oak[why] plain": the assets that pass.
    std::string Find(const std::string& text, Int32 lengthUnitSystem = 0) {
        const String upper = String(text).ToUpper();
        const FilterContext context{_library.repository, nullptr, lengthUnitSystem};
        const FilterExpressionRef expression = Need(FilterExpression::Create(context, upper.GetView(), _caches));
        std::string found;
        for (const char* aid : {"oak", "plain", "run", "former", "chairs", "wood"}) {
            const AssetDescription asset = _library.Get(MakeId(aid));
            String why;
            const Bool isOut = Need(expression->IsFilteredOut(asset, why, _caches, nullptr));
            EXPECT_EQ(isOut, !MeetsEach(*expression, asset)) << text << " " << aid;
            if (isOut) continue;
            found += (found.empty() ? "" : " ") + std::string(aid);
            if (why.IsPopulated()) found += "[" + std::string(why.GetView()) + "]";
        }
        return found;
    }
    /// As `talvo explain` sees it.
    Bool MeetsEach(const FilterExpression& expression, const AssetDescription& asset) {
        Bool meets = !expression.GetConditions().IsEmpty();
        for (Int i = 0; i < expression.GetConditions().GetCount(); ++i)
            meets = Need(expression.Explain(asset, i, _caches)).isMet && meets;
        return meets;
    }

    static std::vector<std::string> Words(const std::string& text) {
        std::istringstream stream(text);
        return {std::istream_iterator<std::string>(stream), {}};
    }

    FilterLibrary _library;
    FilterCaches _caches;
};

TEST_F(FilterEvaluation, EachKeywordReadsItsValue) {
    const std::pair<const char*, const char*> cases[] = {
        // free text: names, tags, names of keywords, and what subtypes and keywords are called
        {"oak", "oak"},
        {"oak chair", "oak"},
        {"chair oak", "oak"},
        {"car car|oak chair", ""},
        {"plain|run", "plain run"},
        {"wooden", "oak[Wooden] wood"},
        {"antique", "oak[Antique]"},
        {"mesh", "oak"},
        {"shiny", "oak[shiny]"},
        {"very", "oak"},
        {"round", "oak"},
        {"<3", ""},
        {"nameless", "oak"},
        {"shiny wooden", "oak[Wooden, shiny]"},
        // ids
        {"type:assettype.command", "run former"},
        {"type:$assettype.command", ""},
        {"type:$net.talvo.assettype.co|keyword", "run former wood"},
        {"type:model", "oak"},
        {"type:mesh", "oak"},
        {"assetid:LAI", "plain"},
        {"categoryid:chair", "oak"},
        {"categoryid:furn", "oak"},
        {"categoryid:uncategorized", "plain run former wood"},
        {"keywordid:oo", "oak[wood]"},
        {"keywordid:>2", "oak[3>2]"},
        {"keywordcount:3", "oak[3]"},
        {"keywordcount:0", "plain[0] run[0] former[0] chairs[0] wood[0]"},
        {"keyword:nameless", "oak"},
        {"keyword:keyword", ""},
        {"keyword:=3|wooden", "oak[Wooden]"},
        {"keyword:>x", ""},
        {"dependency:texture", "oak[Bark Texture]"},
        {"dependency:bark", "oak[Bark Texture]"},
        {"dependency:<9", "oak[1<9]"},
        {"dependencycount:>=0", "oak[dependencycount:1]"},
        // metadata
        {"name:table", "oak"},
        {"name:wooden", "wood"},
        {"annotations:CARE", "oak"},
        {"lastusedate:2024-02-29", "oak[2024-02-29]"},
        {"lastusedate:<2024-02-29", ""},
        {"creationdate:>2020-01-01 name:plain creationdate:<2020-01-01", ""},
        {"usecount:>4", "oak[Used 5 times]"},
        {"usecount:0 type:file", "plain[Used 0 times]"},
        {"preview:yes", "oak"},
        {"preview:no type:file", "plain"},
        {"previewanim:0|x type:model", "oak"},
        {"proxy:maybe", ""},
        {"version:final", "oak[final]"},
        {"version:>1", "oak[2>1]"},
        {"versioncount:1 type:file", "plain[1]"},
        {"installed:yes downloading:no type:model", "oak"},
        {"size:4", "oak[4 B]"},
        {"protected:no type:file", "oak plain"},
        {"favorite:true", ""},
        {"database:shelf databasetype:databas type:file", "oak plain"},
        {"databasetype:watchfolder", ""},
        {"scope:viewp", "run"},
        {"scope:other.sc", "run"},
        {"scope:timeline", "former"},
        // properties
        {"fps:25|1", "oak[25]"},
        {"animationlength:>10", "oak[10.5]"},
        {"bitdepth:<=16", "oak[16]"},
        {"pixelformat:rgb", "oak"},
        {"colorprofile:=srgb", "oak"},
        {"colorprofile:=rgb", ""},
        {"resolution:4096", "oak[4096]"},
        {"alphachannels:0", "oak[0]"},
        {"fileversion:>2.9", "oak"},
        {"fileversion:<2.9", ""},
        {"fileformat:x", "oak"},
        {"points:<1000", ""},
        {"points:<=1000 polygons:>800 objects:3", "oak[1000, 900, 3]"},
        {"materials:<5", ""},
        {"dimensions:<=2m", "oak[2 m]"},
        {"dimensions:>2m", ""},
        // never
        {"polygon:1", ""},
        {"size:", ""},
        {"oak |", ""},
        {"", ""},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(Find(text), expected) << text;
    EXPECT_EQ(Find("dimensions:>6ft", 1), "oak[2.187 yd]");
}

// A million of nothing is nothing, and values that mean "none" are none.
TEST_F(FilterEvaluation, ValuesThatMeanNoneAreNone) {
    constexpr Float64 LIMIT = std::numeric_limits<Float64>::max();
    const AssetDescription plain = _library.Get("plain"_id);
    const auto findWith = [&](const char* key, auto value, const char* text) {
        DataDictionary properties;
        properties.Set(MakeId(key), std::move(value));
        _library.Set(plain, ASSETMETADATA::METAPROPERTIES, Data(properties));
        return Find(std::string(text) + " name:plain");
    };
    using Box = BaseArray<Float64>;
    EXPECT_EQ(findWith(BOX, Box{LIMIT, LIMIT, LIMIT, -LIMIT, -LIMIT, -LIMIT}, "dimensions:>=0"), "");
    EXPECT_EQ(findWith(BOX, Box{0, 5, 0, 9, 4, 9}, "dimensions:>=0"), "plain[0 mm]");
    EXPECT_EQ(findWith(BOX, Box{0, 0, 0}, "dimensions:>=0"), "");
    EXPECT_EQ(findWith(BOX, Box{NAN, 0, 0, 1, 1, 1}, "dimensions:>=0"), "plain[0 mm]");
    EXPECT_EQ(findWith("net.talvo.asset.metaproperties.media.animlength", LIMIT, "animationlength:>0"), "");
    EXPECT_EQ(findWith("net.talvo.asset.metaproperties.media.fps", -1.0, "fps:<0"), "");
    EXPECT_EQ(findWith("net.talvo.asset.metaproperties.media.height", Int64(7), "resolution:7"), "plain[7]");
    EXPECT_EQ(findWith("net.talvo.asset.metaproperties.media.bitdepth", String("7"), "bitdepth:7"), "");
}

TEST_F(FilterEvaluation, TellsWhatAConditionRead) {
    const char* upper = "KEYWORD:<1 VERSION:DRAFT DEPENDENCY:WOOD DIMENSIONS:>3M POINTS:7 SIZE:4";
    const FilterExpressionRef expression = Need(FilterExpression::Create({_library.repository, nullptr, 0}, upper, _caches));
    const auto read = [&](const char* aid) {
        std::string text;
        for (Int i = 0; i < expression->GetConditions().GetCount(); ++i) {
            const ConditionReport report = Need(expression->Explain(_library.Get(MakeId(aid)), i, _caches));
            for (const auto& [what, value] : report.reads) text += std::string(value.GetView()) + (report.isMet ? "!" : "; ");
        }
        return text;
    };
    EXPECT_EQ(read("oak"), "Wooden, wood; nameless; Antique, old; 2; final; 1; Bark Texture; 2 m; 1000; 4!");
    EXPECT_EQ(read("run"), "1; 0; none; none; none; ");
}

TEST_F(FilterEvaluation, SelectedAssetsStandForFilters) {
    const Asset search(Need(SmartSearchAssetInterface::Create()));
    const AssetDescription smart = Need(_library.repository->StoreAsset("smart"_id, search, AssetMetaData()));
    Need(SmartSearchAssetInterface::SetFilterString(smart, String("oak FirstItems:Relevant")));
    const AssetDescription selection[] = {_library.Get("wood"_id), smart, _library.Get("oak"_id), _library.Get("chairs"_id)};
    const std::pair<Int32, const char*> cases[] = {{0, ""}, {3, " relevantitems:media"}, {7, " relevantitems:presets"}, {8, ""}};
    for (const auto& [relevant, added] : cases) {
        const std::string expected = "keywordid:wood oak FirstItems:Relevant" + std::string(added) + " categoryid:chairs";
        EXPECT_EQ(Need(MakeSmartSearchText(selection, relevant)), String(expected));
    }
}

TEST_F(FilterEvaluation, CirclesOfCategoriesEnd) {
    _library.Set(_library.Get("furniture"_id), ASSETMETADATA::CATEGORY, Data(Id("chairs"_id)));
    EXPECT_EQ(Find("categoryid:furn"), "oak");
    EXPECT_EQ(Find("categoryid:nowhere"), "");
}

// Terms judge for themselves: what meets several is what meets each, in whatever order they stand.
TEST_F(FilterEvaluation, TermsDontDependOnEachOther) {
    std::mt19937 dice(5);
    const char* terms[] = {"oak|run",      "type:file",     "shiny|plain",     "wooden",         "mesh",
                           "keyword:>1",   "usecount:>=0",  "run|former",      "scope:viewport", "preview:yes",
                           "categoryid:c", "<3|oak",        "protected:no",    "size:<5",        "a",
                           "r|l",          "version:final", "keywordcount:<9", "name:oak|plain", "databasetype:d"};
    const auto ids = [&](const std::string& text) {
        std::string found = Find(text);
        while (found.find('[') != std::string::npos) {
            const std::size_t begin = found.find('[');
            found.erase(begin, found.find(']') + 1 - begin);
        }
        return Sorted(Words(found));
    };
    for (int round = 0; round < 60; ++round) {
        std::string text;
        std::vector<std::string> expected = Words("oak plain run former chairs wood");
        std::sort(expected.begin(), expected.end());
        for (std::size_t k = 1 + dice() % 4; k > 0; --k) {
            const std::string term = terms[dice() % std::size(terms)];
            text += term + " ";
            const std::vector<std::string> found = ids(term);
            std::vector<std::string> both;
            std::set_intersection(expected.begin(), expected.end(), found.begin(), found.end(), std::back_inserter(both));
            expected = both;
        }
        EXPECT_EQ(ids(text), expected) << text;
    }
}

}  // namespace
}  // namespace talvo
