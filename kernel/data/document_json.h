// Trees of values as JSON text.
#pragma once

#include "kernel/data/document_value.h"

#include <string>
#include <string_view>

namespace talvo {

/// JSON text with 2-space indent and the keys in the order of the tree, without a line end at the end.
///
/// Bytes become `{"base64": "..."}`. So that an object of that shape stays one, an object whose only key is "base64" behind
/// any number of "~" gets one "~" more, which reading takes away.
/// Expects finite numbers, UTF-8 keys and no endless depth (detail::CheckDocumentLimits tests them).
/// Errors: IllegalArgumentError if the text gets longer than documents may be.
Result<std::string> WriteJson(const DocumentValue& value);

/// Appends the same on one line.
void AppendJsonLine(const DocumentValue& value, std::string& text);

/// Reads JSON text (RFC 8259; a byte order mark of UTF-8 is passed over). Integers are exact.
/// Errors: FileFormatError that says where: malformed, over the limits of documents, an integer beyond 64 bits, a number beyond
/// Float64, a key twice in one object.
Result<DocumentValue> ReadJson(std::string_view text);

}  // namespace talvo
