// Trees of values as bytes.
#pragma once

#include "kernel/base/id.h"
#include "kernel/data/document_value.h"

#include <string>
#include <string_view>

namespace talvo {

/// What a binary document holds.
struct BinaryDocument {
    Id rootId;
    Id typeId;
    DocumentValue value;
};

inline constexpr std::string_view BINARY_DOCUMENT_MAGIC = "TALVODOC";

/// The whole file. Expects a value within the limits (detail::CheckDocumentLimits). Errors: IllegalArgumentError if it
/// gets longer than documents may be.
Result<std::string> WriteBinaryDocument(const BinaryDocument& document);
/// Errors: FileFormatError: cut short, wrong checksum, unknown version, malformed, over the limits.
Result<BinaryDocument> ReadBinaryDocument(std::string_view bytes);

}  // namespace talvo
