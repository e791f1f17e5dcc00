#include "asset_utilities.h"
#include "support/asset_test_support.h"

namespace talvo {

TEST(UrlQuery, isBuiltOfVariablesWhoseValuesAreMasked) {
    struct Case {
        const char* query;
        const char* name;
        const char* value;
        const char* expected;
    };
    const Case cases[] = {
        {"", "rev", "v1", "rev=v1"},
        {"rev=v1", "name", "Desk", "rev=v1&name=Desk"},
        {"", "name", "a=b&c", "name=a%3db%26c"},
        {"", "name", "100 % wood?", "name=100 % wood?"},
        {"rev=v1", "name", "", "rev=v1"},
        {"rev=v1", "a=b", "", "rev=v1"},
        {"", "", "v", "=v"},
    };
    for (const Case& c : cases) {
        String query = c.query;
        Need(AssetUtilities::AppendUrlQueryVariable(query, c.name, c.value));
        EXPECT_EQ(query, String(c.expected));
    }
}

TEST(UrlQuery, refusesANameThatWouldPartTheQueryAndLeavesItAsItIs) {
    for (const char* name : {"a=b", "&", "a&"}) {
        String query = "rev=v1";
        EXPECT_THAT(
            AssetUtilities::AppendUrlQueryVariable(query, name, "x"),
            FailsWith<IllegalArgumentError>("Illegal argument: Condition !HasUrlQueryCharacters(variableName) not fulfilled. "));
        EXPECT_EQ(query, String("rev=v1")) << name;
    }
}

}  // namespace talvo
