// The query of a url: variables joined by "&", values in which the two signs that part them are masked.
#include "asset_utilities.h"

#include "kernel/text/format.h"

namespace talvo {

Bool AssetUtilities::HasUrlQueryCharacters(const String& query) {
    return query.GetView().find_first_of("&=") != std::string_view::npos;
}

Result<String> AssetUtilities::ReplaceUrlQueryCharacters(const String& query) {
    return CatchOutOfMemory([&]() -> Result<String> { return query.Replace("&", "%26").Replace("=", "%3d"); });
}

Result<void> AssetUtilities::AppendUrlQueryVariable(String& query, const String& variableName, const String& variableValue) {
    return CatchOutOfMemory([&]() -> Result<void> {
        if (variableValue.IsEmpty()) return OK;
        CHECK_ARGUMENT(!HasUrlQueryCharacters(variableName), "!HasUrlQueryCharacters(variableName)");
        const String value = TRY(ReplaceUrlQueryCharacters(variableValue));
        const String variable = FormatString("@=@", variableName, value);
        query = query.IsEmpty() ? variable : query + "&" + variable;
        return OK;
    });
}

}  // namespace talvo
