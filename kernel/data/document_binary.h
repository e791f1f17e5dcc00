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

/// Looks into the tagged form of a value without making it. Whatever is wrong with the bytes counts as nothing there.
/// Threads: as a plain value; the bytes are the caller's.
class BinaryValueView {
public:
    explicit BinaryValueView(std::string_view bytes) : _bytes(bytes) {}
    /// A text (or bytes); nothing if it is something else.
    Opt<std::string_view> GetText() const;
    /// The member of an object, which may be cut short.
    Opt<BinaryValueView> FindMember(std::string_view key) const;
    /// Hands out the elements of an array, the last of which may be cut short, until the receiver returns false.
    template <typename RECEIVER>
    void ForEachElement(RECEIVER&& receiver) const {
        UInt32 count = 0;
        std::string_view rest = EnterList('a', count);
        for (UInt32 i = 0; i < count; ++i) {
            if (!receiver(BinaryValueView(rest)) || i + 1 == count) return;
            const std::size_t length = MeasureValue(rest, 0);
            if (length == 0) return;
            rest.remove_prefix(length);
        }
    }

private:
    std::string_view EnterList(char tag, UInt32& count) const;
    /// Bytes of the value at the front; 0 if there is none that is whole.
    static std::size_t MeasureValue(std::string_view bytes, Int depth);

    std::string_view _bytes;
};

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
