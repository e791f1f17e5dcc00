// Documents in either form: limits, root and type around the tree of a value.
#include "kernel/data/document.h"

#include "kernel/data/document_binary.h"
#include "kernel/data/document_ids.h"
#include "kernel/data/document_json.h"
#include "kernel/data/document_limits.h"
#include "kernel/text/format.h"

namespace talvo {

namespace {

constexpr Int64 JSON_FORMAT = 1;
constexpr std::size_t LONGEST_REASON = 500;

Result<std::string> WriteJsonDocument(const Id& rootId, const Id& typeId, DocumentValue value) {
    DocumentValue::ObjectType envelope;
    envelope.reserve(4);
    envelope.emplace_back("root", DocumentValue::FromBytes(rootId.GetView()));
    envelope.emplace_back("format", DocumentValue(JSON_FORMAT));
    envelope.emplace_back("type", DocumentValue::FromBytes(typeId.GetView()));
    envelope.emplace_back("value", std::move(value));
    std::string text = TRY(WriteJson(DocumentValue(std::move(envelope))));
    return std::move(text) + '\n';
}

Result<std::string> WriteDocument(const Data& data, const Id& rootId, DOCUMENT_FORMAT format) {
    DocumentValue value = TRY(data.ToBareDocument());
    TRY(detail::CheckDocumentLimits(value));
    switch (format) {
        case DOCUMENT_FORMAT::BINARY: return WriteBinaryDocument({rootId, data.GetTypeId(), std::move(value)});
        case DOCUMENT_FORMAT::JSON: return WriteJsonDocument(rootId, data.GetTypeId(), std::move(value));
    }
    return IllegalArgumentError::Create(FormatMessage("There is no document format @.", Int32(format)));
}

Result<void> CheckRoot(const Id& found, const Id& wanted) {
    if (found == wanted) return OK;
    return FileFormatError::Create(FormatMessage("Its root is \"@\", not \"@\".", found, wanted));
}

Result<Data> ReadJsonDocument(std::string_view bytes, const Id& rootId) {
    const DocumentValue envelope = TRY(ReadJson(bytes));
    const DocumentValue& format = TRY_REF(envelope.GetMember("format"));
    const Int64 version = TRY(format.GetInt());
    if (version != JSON_FORMAT) {
        return FileFormatError::Create(FormatMessage("It has format @; this program reads format @.", version, JSON_FORMAT));
    }
    const DocumentValue& root = TRY_REF(envelope.GetMember("root"));
    const Id foundRoot = TRY(detail::ReadDocumentId(root));
    TRY(CheckRoot(foundRoot, rootId));
    const DocumentValue& type = TRY_REF(envelope.GetMember("type"));
    const Id typeId = TRY(detail::ReadDocumentId(type));
    const DocumentValue& value = TRY_REF(envelope.GetMember("value"));
    // Not passed over: what is written again would lack it.
    const DocumentValue::ObjectType& members = TRY_REF(envelope.GetObject());
    if (members.size() != 4)
        return FileFormatError::Create("It has other members than \"root\", \"format\", \"type\" and \"value\".");
    return Data::FromBareDocument(typeId, value);
}

Result<Data> ReadDocument(std::string_view bytes, const Id& rootId) {
    if (!bytes.starts_with(BINARY_DOCUMENT_MAGIC)) return ReadJsonDocument(bytes, rootId);
    const BinaryDocument document = TRY(ReadBinaryDocument(bytes));
    TRY(CheckRoot(document.rootId, rootId));
    return Data::FromBareDocument(document.typeId, document.value);
}

}  // namespace

Result<std::string> WriteDocumentText(const Data& data, const Id& rootId, DOCUMENT_FORMAT format) {
    return CatchOutOfMemory([&] { return WriteDocument(data, rootId, format); });
}

Result<Data> ReadDocumentText(std::string_view bytes, const Id& rootId, std::string_view name) {
    Result<Data> data = CatchOutOfMemory([&] { return ReadDocument(bytes, rootId); });
    if (data.IsOk() || OutOfMemoryError::IsClassOf(data.GetError())) return data;
    // Cut, since a hostile text may be quoted in it; for the same reason no cause.
    const std::string& reason = data.GetError()->GetMessage();
    return FileFormatError::Create(FormatMessage("The document @ can't be read: @ Restore it from a copy, or remove it.", name,
                                                 MakeUtf8(reason.substr(0, LONGEST_REASON))));
}

}  // namespace talvo
