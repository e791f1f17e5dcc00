// Two kinds of presets: one that says nothing of itself, and one with a name whose presets may be defaults.
#pragma once

#include "base_preset_asset.h"
#include "support/asset_test_support.h"

namespace talvo {

inline constexpr LiteralId ASSETTYPE_BAREPRESET{"net.talvo.assettype.preset.test.bare"};
inline constexpr LiteralId ASSETTYPE_SWATCH{"net.talvo.assettype.preset.test.swatch"};

/// A preset of one of the two types, which are registered at the first call. Its payload is `text`; "unwritable" can't be written.
Asset MakePreset(const Id& type, std::string text);

}  // namespace talvo
