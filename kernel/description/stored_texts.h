// Texts of a stored description, read where they lie: names are read by the hundred thousand, and making the whole description of each would take
// most of that time.
#pragma once

#include "kernel/base/array.h"
#include "kernel/base/id.h"

#include <string_view>

namespace talvo {

/// Sets `texts` to what a stored description of texts has under `keys`; empty where it has nothing. They point into `bytes`.
/// @param type and @param bytes of the value, in the tagged form of documents.
/// @return false if the value is no description; nothing is set then.
Bool ReadStoredTexts(const Id& type, std::string_view bytes, Block<const Id> keys, std::string_view* texts);

}  // namespace talvo
