// Lengths with units, such as "2M", "1.5*(3FT+2IN)": what a user writes behind "dimensions:".
#pragma once

#include "kernel/base/result.h"

#include <string>
#include <string_view>

namespace talvo {

/// The value in units of which 100 make a metre; a number without a unit is in those already. Reads + - * / and brackets, signs, exponents, and the
/// units mm, cm, m, km, in, ft, yd and mi in any case, with "." as decimal sign.
/// @return nothing for anything else, for brackets nested deeper than 64, and for what isn't finite.
Opt<Float64> EvaluateLength(std::string_view text);

/// The shortest text that reads back as the same number: plain digits below 1e16.
std::string WriteFloat(Float64 value);

}  // namespace talvo
