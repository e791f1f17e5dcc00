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

/// Appends the tagged form of a value to `bytes`, as it stands in a document. Expects a value within the limits (detail::CheckDocumentLimits).
void AppendBinaryValue(const DocumentValue& value, std::string& bytes);
/// Reads what AppendBinaryValue gave, to the last byte. Errors: FileFormatError: cut short, malformed, over the limits.
Result<DocumentValue> ReadBinaryValue(std::string_view bytes);

/// What stands around the payload of a document: magic, version, root, type and the payload's length before it, a checksum behind it.
struct BinaryDocumentFrame {
    std::string_view rootId;
    std::string_view typeId;
    std::string_view payload;
};
/// The bytes before a payload of `length` bytes.
std::string MakeBinaryDocumentHead(const Id& rootId, const Id& typeId, UInt64 length);
/// Finds the parts of a document. The checksum is not looked at. Errors: FileFormatError: cut short, unknown version.
Result<BinaryDocumentFrame> ReadBinaryDocumentFrame(std::string_view bytes);
/// Errors: FileFormatError if the checksum at the end is not that of the bytes before it.
Result<void> CheckBinaryDocumentSum(std::string_view bytes);

/// The whole file. Expects a value within the limits (detail::CheckDocumentLimits). Errors: IllegalArgumentError if it
/// gets longer than documents may be.
Result<std::string> WriteBinaryDocument(const BinaryDocument& document);
/// Errors: FileFormatError: cut short, wrong checksum, unknown version, malformed, over the limits.
Result<BinaryDocument> ReadBinaryDocument(std::string_view bytes);

}  // namespace talvo
