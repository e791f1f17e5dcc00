// The version text that follows another one.
#include "asset_utilities.h"

namespace talvo {

namespace {

constexpr std::size_t NOWHERE = std::string::npos;

Bool IsDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

Result<String> AssetUtilities::IncreaseAssetVersion(const String& currentVersion) {
    return CatchOutOfMemory([&]() -> Result<String> {
        if (currentVersion.IsEmpty()) return String("1.0");
        // Bytes will do: those of characters beyond ASCII are no digits.
        std::string text = currentVersion.GetCString();
        std::size_t leftmost = NOWHERE;
        for (std::size_t i = text.size(); i-- > 0;) {
            if (!IsDigit(text[i])) continue;
            leftmost = i;
            if (text[i] != '9') {
                ++text[i];
                return String(text);
            }
            text[i] = '0';  // and carried on, across whatever parts the numbers
        }
        if (leftmost != NOWHERE) text.insert(leftmost, "1");
        return String(text);
    });
}

}  // namespace talvo
