#include "url_repository/compacted_metadata.h"

#include "kernel/data/document_binary.h"
#include "url_repository/compacted_metadata_layout.h"

#include <algorithm>

namespace talvo {

using namespace compacted;

namespace {

constexpr UChar NO_DIGIT = 0xff;

/// The value of each lower-case hexadecimal digit.
constexpr std::array<UChar, 256> NIBBLES = [] {
    std::array<UChar, 256> nibbles{};
    nibbles.fill(NO_DIGIT);
    for (std::size_t i = 0; i < 16; ++i) nibbles[UChar("0123456789abcdef"[i])] = UChar(i);
    return nibbles;
}();

/// Cuts columns off the front of a payload whose head nobody vouches for.
class ColumnCutter {
public:
    explicit ColumnCutter(std::string_view rest) : _rest(rest) {}
    /// @return false if there is less than that.
    Bool Cut(UInt count, UInt size, std::string_view& column) {
        if (count > _rest.size() / size) return false;
        column = _rest.substr(0, count * size);
        _rest.remove_prefix(column.size());
        return true;
    }
    Bool IsEmpty() const { return _rest.empty(); }

private:
    std::string_view _rest;
};

/// The part of `texts` between two neighbours of `offsets`; nothing if they don't lie in it.
Opt<std::string_view> Slice(std::string_view offsets, std::string_view texts, UInt index) {
    const UInt begin = ReadNumber<UInt>(offsets, index * sizeof(UInt));
    const UInt end = ReadNumber<UInt>(offsets, (index + 1) * sizeof(UInt));
    if (begin > end || end > texts.size()) return std::nullopt;
    return texts.substr(begin, end - begin);
}

}  // namespace

Bool compacted::PackDigest(std::string_view text, Digest& digest) {
    if (text.size() != 2 * DIGEST_SIZE) return false;
    UChar odd = 0;
    for (std::size_t i = 0; i < DIGEST_SIZE; ++i) {
        const UChar high = NIBBLES[UChar(text[2 * i])];
        const UChar low = NIBBLES[UChar(text[2 * i + 1])];
        odd |= UChar((high | low) & 0xf0);
        digest[i] = char(UChar(high << 4 | low));
    }
    return odd == 0;
}

ErrorRef CompactedMetaData::MakeError(std::string_view why) const {
    return FileFormatError::Create(
        FormatMessage("@ is damaged: @ Remove @ and compact again.", _file, why, _file.GetDirectory().GetDirectory()));
}

Result<StrongRef<CompactedMetaData>> CompactedMetaData::Open(const Url& file) {
    StrongRef<MappedFile> mapped = TRY(MappedFile::Open(file));
    StrongRef<CompactedMetaData> document(new CompactedMetaData(file, std::move(mapped)));
    const Result<void> read = document->ReadHead();
    if (read.IsOk()) return document;
    if (!FileFormatError::IsClassOf(read.GetError())) return read.GetError();
    return document->MakeError(read.GetError()->GetMessage());
}

Result<void> CompactedMetaData::ReadHead() {
    const BinaryDocumentFrame frame = TRY(ReadBinaryDocumentFrame(_mapped->GetBytes()));
    if (frame.rootId != COMPACTED_METADATA.GetView() || frame.typeId != COMPACTED_METADATA.GetView()) {
        return FileFormatError::Create("It holds no compacted metadata.");
    }
    const std::string_view head = frame.payload.substr(0, HEAD_SIZE);
    if (head.size() < HEAD_SIZE) return FileFormatError::Create("It is cut short.");
    const UInt32 flags = ReadNumber<UInt32>(head, 0);
    const UInt32 typeCount = ReadNumber<UInt32>(head, sizeof(UInt32));
    const auto readLength = [&](std::size_t index) { return ReadNumber<UInt>(head, 2 * sizeof(UInt32) + index * sizeof(UInt)); };
    _assetCount = readLength(0);
    _rowCount = readLength(1);
    _hasDigests = flags == VERSIONS_ARE_DIGESTS;
    const Bool knowsAll =
        flags <= VERSIONS_ARE_DIGESTS && typeCount <= MAX_TYPES && _assetCount <= UInt32(-1) && _rowCount <= UInt32(-1);
    if (!knowsAll) return FileFormatError::Create("Its head is wrong.");
    ColumnCutter cutter(frame.payload.substr(HEAD_SIZE));
    std::string_view types;
    Bool fits = cutter.Cut(_assetCount + 1, sizeof(UInt), _assetOffsets) && cutter.Cut(_assetCount + 1, sizeof(UInt), _firstRows);
    if (!_hasDigests) fits = fits && cutter.Cut(_rowCount + 1, sizeof(UInt), _versionOffsets);
    fits = fits && cutter.Cut(_rowCount + 1, sizeof(UInt), _valueOffsets) && cutter.Cut(readLength(2), 1, _assets) &&
           cutter.Cut(readLength(3), 1, _versions) && cutter.Cut(readLength(4), 1, types) &&
           cutter.Cut(readLength(5), 1, _values) && cutter.IsEmpty() &&
           (!_hasDigests || _versions.size() == _rowCount * DIGEST_SIZE);
    if (!fits) return FileFormatError::Create("The lengths in its head are wrong.");
    for (UInt32 i = 0; i < typeCount; ++i) {
        ColumnCutter text(types);
        std::string_view length;
        std::string_view name;
        if (!text.Cut(1, sizeof(UInt32), length) || !text.Cut(ReadNumber<UInt32>(length, 0), 1, name)) {
            return FileFormatError::Create("Its table of types is wrong.");
        }
        types.remove_prefix(length.size() + name.size());
        Id type = TRY(Id::Create(name));
        _types.push_back(std::move(type));
    }
    return OK;
}

Result<void> CompactedMetaData::EnsureChecked() const {
    SUM sum = _sum.load(std::memory_order_acquire);
    if (sum == SUM::UNKNOWN) {
        sum = CheckBinaryDocumentSum(_mapped->GetBytes()).IsOk() ? SUM::RIGHT : SUM::WRONG;
        _sum.store(sum, std::memory_order_release);
    }
    return sum == SUM::RIGHT ? Result<void>(OK) : MakeError("its checksum is wrong.");
}

Result<std::string_view> CompactedMetaData::GetAsset(UInt asset) const {
    const Opt<std::string_view> text = Slice(_assetOffsets, _assets, asset);
    return text ? Result<std::string_view>(*text) : MakeError("an offset in it is wrong.");
}

Result<std::string_view> CompactedMetaData::GetVersion(UInt row) const {
    if (_hasDigests) return _versions.substr(row * DIGEST_SIZE, DIGEST_SIZE);
    const Opt<std::string_view> text = Slice(_versionOffsets, _versions, row);
    return text ? Result<std::string_view>(*text) : MakeError("an offset in it is wrong.");
}

Result<CompactedMetaData::RawValue> CompactedMetaData::GetValue(UInt row) const {
    const Opt<std::string_view> bytes = Slice(_valueOffsets, _values, row);
    if (!bytes || bytes->size() < sizeof(UInt32)) return MakeError("an offset in it is wrong.");
    const UInt32 type = ReadNumber<UInt32>(*bytes, 0);
    if (type >= _types.size()) return MakeError("a value in it has a type that isn't there.");
    return RawValue{&_types[type], bytes->substr(sizeof(UInt32))};
}

// Assets stand about where the caller says, most of the time just there, so the search widens from that place.
Result<Opt<UInt>> CompactedMetaData::FindAsset(std::string_view aid, UInt next) const {
    UInt low = 0;
    UInt high = _assetCount;  // behind the last that may be it
    next = std::min(next, _assetCount - 1);
    for (UInt step = 1; low < high; step *= 2) {
        const std::string_view text = TRY(GetAsset(next));
        const int order = text.compare(aid);
        if (order == 0) return Opt<UInt>(next);
        if (order < 0) {
            low = next + 1;
            next = step < high - low ? low + step - 1 : low + (high - low) / 2;
        } else {
            high = next;
            next = step < high - low ? high - step : low + (high - low) / 2;
        }
    }
    return Opt<UInt>();
}

Result<Opt<CompactedMetaData::RawValue>> CompactedMetaData::FindRaw(std::string_view aid, std::string_view version,
                                                                    Float64 place) const {
    UInt next = UInt(std::max(0.0, place) * Float64(_assetCount));
    return FindNext(aid, VersionKey(version), next);
}

Result<Opt<CompactedMetaData::RawValue>> CompactedMetaData::FindNext(std::string_view aid, const VersionKey& key,
                                                                     UInt& next) const {
    TRY(EnsureChecked());
    if (_assetCount == 0 || (_hasDigests && !key.IsDigest())) return Opt<RawValue>();
    const std::string_view version = _hasDigests ? key.GetDigest() : key.GetText();
    const Opt<UInt> asset = TRY(FindAsset(aid, next));
    if (!asset) return Opt<RawValue>();
    next = *asset + 1;
    UInt low = ReadNumber<UInt>(_firstRows, *asset * sizeof(UInt));
    UInt high = ReadNumber<UInt>(_firstRows, (*asset + 1) * sizeof(UInt));
    if (low > high || high > _rowCount) return MakeError("a row number in it is wrong.");
    while (low < high) {
        const UInt middle = low + (high - low) / 2;
        const std::string_view found = TRY(GetVersion(middle));
        const int order = found.compare(version);
        if (order == 0) {
            RawValue value = TRY(GetValue(middle));
            return Opt<RawValue>(value);
        }
        (order < 0 ? low : high) = order < 0 ? middle + 1 : middle;
    }
    return Opt<RawValue>();
}

Result<Data> CompactedMetaData::Find(std::string_view aid, std::string_view version, Float64 place) const {
    const Opt<RawValue> raw = TRY(FindRaw(aid, version, place));
    if (!raw) return Data();
    const auto decode = [&]() -> Result<Data> {
        const DocumentValue value = TRY(ReadBinaryValue(raw->bytes));
        return Data::FromBareDocument(*raw->typeId, value);
    };
    Result<Data> value = decode();
    const Bool isBroken = value.IsError() && FileFormatError::IsClassOf(value.GetError());
    return isBroken ? Result<Data>(MakeError(value.GetError()->GetMessage())) : value;
}

}  // namespace talvo
