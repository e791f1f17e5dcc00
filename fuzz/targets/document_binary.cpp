// Binary documents: as they come, and with a checksum that is right, so that what lies behind it is reached.
#include "kernel/data/document_binary.h"
#include "fuzz/document_round_trip.h"
#include "kernel/base/hashing.h"

namespace talvo {

namespace {

constexpr std::size_t CHECKSUM_SIZE = 8;

std::string WithChecksum(std::string_view bytes) {
    std::string result(bytes.substr(0, bytes.size() - CHECKSUM_SIZE));
    const UInt sum = GetStoredHash64(result);
    for (std::size_t i = 0; i < CHECKSUM_SIZE; ++i) result += char(sum >> (8 * i) & 0xff);
    return result;
}

void CheckTree(std::string_view bytes) {
    const Result<BinaryDocument> document = ReadBinaryDocument(bytes);
    if (document.IsError()) {
        FUZZ_EXPECT(FileFormatError::IsClassOf(document.GetError()), document.GetError()->GetMessage());
        return;
    }
    const std::string written = MUST(WriteBinaryDocument(document.GetValue()));
    const BinaryDocument again = MUST(ReadBinaryDocument(written));
    FUZZ_EXPECT(again.rootId == document.GetValue().rootId && again.typeId == document.GetValue().typeId, "");
    FUZZ_EXPECT(again.value == document.GetValue().value, again.value.ToString());
}

}  // namespace

FUZZ_TARGET(document_binary, bytes) {
    document_round_trip::Check(bytes);
    if (bytes.size() < CHECKSUM_SIZE) return;
    const std::string sound = WithChecksum(bytes);
    CheckTree(sound);
    document_round_trip::Check(sound);
}

}  // namespace talvo
