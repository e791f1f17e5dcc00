// How one alternative of a condition is held against what an asset has. What doesn't parse never matches.
#pragma once

#include "kernel/base/id.h"
#include "kernel/base/result.h"
#include "kernel/text/string.h"

namespace talvo {

/// Whether the upper-case `value` is in the text, without regard to case.
Bool ContainsText(const String& text, const String& value);
/// The same for ids; a value that begins with "$" has to be at the front.
Bool MatchId(std::string_view idText, const String& value);
/// Whether the alternative asks for this answer.
Bool MatchesBool(Bool answer, const String& value);
/// An operator, then an integer.
Bool MatchesNumber(Int64 number, const String& value);
/// An operator, then a number.
Bool MatchesFloat(Float64 number, const String& value);
/// An operator, then a date "YYYY-MM-DD". @param day days since 1970-01-01.
Bool MatchesDate(Int64 day, const String& value);
/// Whether the alternative compares a count rather than being a text.
Bool IsComparison(const String& value);
/// With an operator in front the order of whole texts, in display order; "=" without regard to case. Else as ContainsText.
Bool MatchesOrderedText(const String& text, const String& value);

/// A comparison of lengths for people: "<200" as "<2 m"; anything else as it is. @param lengthUnitSystem as of WriteLength.
String DescribeLength(const String& value, Int32 lengthUnitSystem);
/// "12 B", "1.5 KB", "3.2 MB".
String WriteByteCount(Int64 bytes);
/// A length of so many units, of which 100 make a metre. @param lengthUnitSystem 1: miles, yards, feet and inches; else metric.
String WriteLength(Float64 units, Int32 lengthUnitSystem);

}  // namespace talvo
