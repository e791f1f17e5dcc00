// Documents as JSON text: what reads is written in either form so that it reads the same.
#include "kernel/data/document_json.h"
#include "fuzz/document_round_trip.h"

namespace talvo {

namespace {

void CheckTree(std::string_view bytes) {
    const Result<DocumentValue> value = ReadJson(bytes);
    if (value.IsError()) {
        FUZZ_EXPECT(FileFormatError::IsClassOf(value.GetError()), value.GetError()->GetMessage());
        return;
    }
    const Result<std::string> text = WriteJson(value.GetValue());
    FUZZ_EXPECT(text.IsOk(), text.GetError()->GetMessage());
    const Result<DocumentValue> again = ReadJson(text.GetValue());
    FUZZ_EXPECT(again.IsOk() && again.GetValue() == value.GetValue(), text.GetValue());
}

}  // namespace

FUZZ_TARGET(document_json, bytes) {
    CheckTree(bytes);
    document_round_trip::Check(bytes);
    // The fuzzer finds its way into the values of each type without having to write the frame.
    const std::size_t line = bytes.find('\n');
    if (line == std::string_view::npos) return;
    document_round_trip::Check(R"({"root": "net.talvo.fuzz", "format": 1, "type": "net.talvo.datatype.)" +
                               std::string(bytes.substr(0, line)) + R"(", "value": )" + std::string(bytes.substr(line + 1)) +
                               "}");
}

}  // namespace talvo
