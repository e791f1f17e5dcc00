#include "kernel/base/hashing.h"
#include "kernel/data/document_binary.h"
#include "kernel/data/document_json.h"
#include "kernel/data/document_limits.h"
#include "url_repository/buffered_file.h"
#include "url_repository/compacted_metadata.h"
#include "url_repository/compacted_metadata_layout.h"

#include <algorithm>

namespace talvo {

using namespace compacted;

Result<UInt32> CompactedMetaDataWriter::FindType(const Id& typeId) {
    for (std::size_t i = 0; i < _types.size(); ++i) {
        if (_types[i] == typeId) return UInt32(i);
    }
    if (_types.size() >= MAX_TYPES) return IllegalStateError::Create("One key has values of too many types.");
    _types.push_back(typeId);
    return UInt32(_types.size() - 1);
}

Result<void> CompactedMetaDataWriter::Add(std::string_view aid, std::string_view version, const Data& value) {
    const DocumentValue document = TRY(value.ToBareDocument());
    TRY(detail::CheckDocumentLimits(document));
    std::string bytes;
    AppendBinaryValue(document, bytes);
    return AddRaw(aid, version, value.GetTypeId(), bytes);
}

Result<void> CompactedMetaDataWriter::AddRaw(std::string_view aid, std::string_view version, const Id& typeId,
                                             std::string_view valueBytes) {
    if (_rows.empty() || aid != _asset) {
        if (!_asset.empty() && aid <= _asset) return IllegalStateError::Create(FormatMessage("Asset @ is out of order.", aid));
        FinishAsset();
        _asset = aid;
    }
    const UInt32 type = TRY(FindType(typeId));
    Row row{std::string(version), {}};
    row.value.reserve(sizeof(type) + valueBytes.size());
    AppendNumber(row.value, type);
    row.value += valueBytes;
    _rows.push_back(std::move(row));
    return OK;
}

void CompactedMetaDataWriter::FinishAsset() {
    if (_rows.empty()) return;
    std::sort(_rows.begin(), _rows.end(), [](const Row& first, const Row& second) { return first.version < second.version; });
    for (const Row& row : _rows) {
        _versions += row.version;
        _versionOffsets.push_back(_versions.size());
        _values += row.value;
        _valueOffsets.push_back(_values.size());
    }
    _rows.clear();
    _assets += _asset;
    _assetOffsets.push_back(_assets.size());
    _firstRows.push_back(_valueOffsets.size() - 1);
}

std::string_view CompactedMetaDataWriter::GetVersion(UInt row) const {
    return std::string_view(_versions).substr(_versionOffsets[row], _versionOffsets[row + 1] - _versionOffsets[row]);
}

std::string_view CompactedMetaDataWriter::GetValue(UInt row) const {
    return std::string_view(_values).substr(_valueOffsets[row], _valueOffsets[row + 1] - _valueOffsets[row]);
}

Result<void> CompactedMetaDataWriter::Write(const Url& binary, const Url& json) {
    FinishAsset();
    TRY(WriteBinary(binary));
    return WriteJson(json);
}

// Version ids are nearly always hexadecimal digests: then they take half of their text and no offsets.
Result<void> CompactedMetaDataWriter::WriteBinary(const Url& file) const {
    const UInt rows = _valueOffsets.size() - 1;
    Bool hasDigests = true;
    Digest digest;
    for (UInt row = 0; row < rows && hasDigests; ++row) hasDigests = PackDigest(GetVersion(row), digest);
    std::string typeTexts;
    for (const Id& type : _types) {
        AppendNumber(typeTexts, UInt32(type.GetView().size()));
        typeTexts += type.GetView();
    }
    const UInt versionBytes = hasDigests ? rows * DIGEST_SIZE : _versions.size();
    std::string head;
    AppendNumber(head, UInt32(hasDigests ? VERSIONS_ARE_DIGESTS : 0));
    AppendNumber(head, UInt32(_types.size()));
    for (const UInt number : {UInt(_assetOffsets.size() - 1), rows, UInt(_assets.size()), versionBytes, UInt(typeTexts.size()),
                              UInt(_values.size())}) {
        AppendNumber(head, number);
    }
    const UInt offsets =
        _assetOffsets.size() + _firstRows.size() + (hasDigests ? 0 : _versionOffsets.size()) + _valueOffsets.size();
    const UInt length = head.size() + offsets * sizeof(UInt) + _assets.size() + versionBytes + typeTexts.size() + _values.size();

    StoredHasher64 hasher;
    BufferedFile output = TRY(BufferedFile::Create(file));
    const auto write = [&](std::string_view bytes) -> Result<void> {
        hasher.Add(bytes);
        return output.Write(bytes);
    };
    const auto writeNumbers = [&](const std::vector<UInt>& numbers) { return write(GetBytes(numbers)); };
    TRY(write(MakeBinaryDocumentHead(COMPACTED_METADATA, COMPACTED_METADATA, length)));
    TRY(write(head));
    TRY(writeNumbers(_assetOffsets));
    TRY(writeNumbers(_firstRows));
    if (!hasDigests) TRY(writeNumbers(_versionOffsets));
    TRY(writeNumbers(_valueOffsets));
    TRY(write(_assets));
    if (hasDigests) {
        for (UInt row = 0; row < rows; ++row) {
            PackDigest(GetVersion(row), digest);
            TRY(write({digest.data(), digest.size()}));
        }
    } else {
        TRY(write(_versions));
    }
    TRY(write(typeTexts));
    TRY(write(_values));
    std::string sum;
    AppendNumber(sum, hasher.Get());
    TRY(output.Write(sum));
    return output.Close();
}

Result<void> CompactedMetaDataWriter::WriteJson(const Url& file) const {
    BufferedFile output = TRY(BufferedFile::Create(file));
    const std::string name(COMPACTED_METADATA.GetView());
    TRY(output.Write("{\n  \"root\": \"" + name + "\",\n  \"format\": 1,\n  \"type\": \"" + name + "\",\n  \"value\": ["));
    std::string line;
    for (UInt asset = 0; asset + 1 < _firstRows.size(); ++asset) {
        const std::string_view aid =
            std::string_view(_assets).substr(_assetOffsets[asset], _assetOffsets[asset + 1] - _assetOffsets[asset]);
        for (UInt row = _firstRows[asset]; row < _firstRows[asset + 1]; ++row) {
            const std::string_view value = GetValue(row);
            const DocumentValue tree = TRY(ReadBinaryValue(value.substr(sizeof(UInt32))));
            line.assign(row == 0 ? "\n    [" : ",\n    [");
            AppendJsonLine(DocumentValue::FromBytes(aid), line);
            line += ", ";
            AppendJsonLine(DocumentValue::FromBytes(GetVersion(row)), line);
            line += ", {\"type\": ";
            AppendJsonLine(DocumentValue::FromBytes(_types[ReadNumber<UInt32>(value, 0)].GetView()), line);
            line += ", \"value\": ";
            AppendJsonLine(tree, line);
            line += "}]";
            TRY(output.Write(line));
        }
    }
    TRY(output.Write("\n  ]\n}\n"));
    return output.Close();
}

}  // namespace talvo
