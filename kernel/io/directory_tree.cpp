#include "kernel/io/directory_tree.h"

#include "kernel/data/document.h"
#include "kernel/data/document_binary.h"
#include "kernel/io/connection.h"
#include "kernel/io/mapped_file.h"
#include "kernel/text/format.h"
#include "kernel/text/message_text.h"

#include <concepts>
#include <cstdint>

namespace talvo {

namespace {

using NameLength = std::uint16_t;

constexpr std::string_view MAGIC = "TALVODIR";
constexpr UInt32 VERSION = 1;
constexpr std::size_t CHECKSUM_SIZE = 8;
constexpr std::size_t SMALLEST_ENTRY = 1 + 2 + 1 + 1 + 8 + 8 + 4;
constexpr std::size_t BLOCK_SIZE = std::size_t(1) << 20;
constexpr std::size_t WRITTEN_SIZE = std::size_t(64) << 10;
constexpr char FILE_TAG = 'f';
constexpr char DIRECTORY_TAG = 'd';
constexpr LiteralId DICTIONARY_ROOT{"net.talvo.directorytree.entry"};

template <std::unsigned_integral T>
void AppendNumber(std::string& bytes, T value) {
    char digits[sizeof(T)];
    for (std::size_t i = 0; i < sizeof(T); ++i) digits[i] = char(value >> (8 * i) & 0xff);
    bytes.append(digits, sizeof(T));
}

template <std::unsigned_integral T>
T ToNumber(std::string_view bytes) {
    T value = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i) value |= T(T(UChar(bytes[i])) << (8 * i));
    return value;
}

/// Takes from the front of bytes that nobody vouches for.
class Reader {
public:
    explicit Reader(std::string_view bytes) : _rest(bytes) {}
    Bool IsAtEnd() const { return _rest.empty(); }
    std::size_t GetRest() const { return _rest.size(); }
    Result<std::string_view> Take(std::size_t count) {
        if (count > _rest.size()) return FileFormatError::Create("A length in it is wrong.");
        const std::string_view taken = _rest.substr(0, count);
        _rest.remove_prefix(count);
        return taken;
    }
    template <std::unsigned_integral T>
    Result<T> ReadNumber() {
        const std::string_view bytes = TRY(Take(sizeof(T)));
        return ToNumber<T>(bytes);
    }

private:
    std::string_view _rest;
};

Bool IsComponent(std::string_view name) {
    if (name.empty() || name == "." || name == ".." || Int64(name.size()) > MAX_DIRECTORY_TREE_NAME) return false;
    return name.find('/') == std::string_view::npos && name.find('\0') == std::string_view::npos;
}

std::string JoinForMessage(const std::vector<std::string_view>& components) {
    std::string path;
    for (const std::string_view component : components) (path += path.empty() ? "" : "/") += component;
    return ShortenForMessage(path);
}

/// Empty for an empty one, as most are.
Result<std::string> EncodeDictionary(const DataDictionary& dictionary) {
    if (dictionary.IsEmpty()) return std::string();
    std::string bytes = TRY(WriteDocumentText(Data(dictionary), DICTIONARY_ROOT, DOCUMENT_FORMAT::BINARY));
    if (Int64(bytes.size()) > MAX_DIRECTORY_TREE_DICTIONARY) {
        return UnsupportedArgumentError::Create(
            FormatMessage("Its dictionary has more than @ bytes.", MAX_DIRECTORY_TREE_DICTIONARY));
    }
    return bytes;
}

Result<DataDictionary> DecodeDictionary(std::string_view bytes) {
    if (bytes.empty()) return DataDictionary();
    if (!bytes.starts_with(BINARY_DOCUMENT_MAGIC))
        return FileFormatError::Create("The dictionary of an entry is no binary document.");
    const Data data = TRY(ReadDocumentText(bytes, DICTIONARY_ROOT, "The dictionary of an entry"));
    const auto* dictionary = data.GetPtr<DataDictionary>();
    if (!dictionary) return FileFormatError::Create("What should be the dictionary of an entry is something else.");
    return *dictionary;
}

/// Hashes on the way to a file.
class HashedOutput {
public:
    explicit HashedOutput(OutputStreamRef stream) : _stream(std::move(stream)) {}
    /// What is put in here goes out by Flush.
    std::string& GetBuffer() { return _buffer; }
    Result<void> FlushIfLarge() { return _buffer.size() < WRITTEN_SIZE ? Result<void>() : Flush(); }
    Result<void> Finish() {
        TRY(Flush());
        AppendNumber(_buffer, UInt64(_hasher.Get()));
        TRY(_stream->Write(_buffer));
        return _stream->Close();
    }

private:
    Result<void> Flush() {
        _hasher.Add(_buffer);
        TRY(_stream->Write(_buffer));
        _buffer.clear();
        return OK;
    }

    const OutputStreamRef _stream;
    StoredHasher64 _hasher;
    std::string _buffer;
};

Result<void> ReadEntry(Reader& reader, DirectoryTreeEntry& entry) {
    const UChar depth = TRY(reader.ReadNumber<UChar>());
    if (depth > MAX_DIRECTORY_TREE_DEPTH) return FileFormatError::Create("An entry lies too deep.");
    entry.components.clear();
    for (UChar i = 0; i < depth; ++i) {
        const auto length = TRY(reader.ReadNumber<NameLength>());
        const std::string_view name = TRY(reader.Take(length));
        entry.components.push_back(name);
    }
    const std::string_view tag = TRY(reader.Take(1));
    if (tag[0] != FILE_TAG && tag[0] != DIRECTORY_TAG)
        return FileFormatError::Create("An entry is of a kind that doesn't exist.");
    entry.kind = tag[0] == FILE_TAG ? IO_DETECT::FILE : IO_DETECT::DIRECTORY;
    const auto size = TRY(reader.ReadNumber<UInt64>());
    if (size > UInt64(INT64_MAX)) return FileFormatError::Create("The size of an entry is no size.");
    entry.size = Int64(size);
    const auto time = TRY(reader.ReadNumber<UInt64>());
    entry.time = UniversalDateTime(Int64(time));
    const auto length = TRY(reader.ReadNumber<UInt32>());
    if (length > MAX_DIRECTORY_TREE_DICTIONARY) return FileFormatError::Create("The dictionary of an entry is too long.");
    const std::string_view dictionary = TRY(reader.Take(length));
    entry.dictionary = TRY(DecodeDictionary(dictionary));
    return OK;
}

/// The entries without what is around them, once that is found to be right.
Result<Reader> CheckFrame(std::string_view bytes, UInt64& count) {
    if (!bytes.starts_with(MAGIC)) return FileFormatError::Create("It is of another kind.");
    if (bytes.size() < MAGIC.size() + sizeof(VERSION) + sizeof(count) + CHECKSUM_SIZE)
        return FileFormatError::Create("It is cut short.");
    const std::string_view body = bytes.substr(0, bytes.size() - CHECKSUM_SIZE);
    if (ToNumber<UInt64>(bytes.substr(body.size())) != GetStoredHash64(body)) {
        return FileFormatError::Create("Its checksum is wrong: it is cut short or damaged.");
    }
    Reader reader(body.substr(MAGIC.size()));
    const auto version = TRY(reader.ReadNumber<UInt32>());
    if (version != VERSION) {
        return FileFormatError::Create(FormatMessage("It has format version @; this program reads version @.", version, VERSION));
    }
    count = TRY(reader.ReadNumber<UInt64>());
    if (count > reader.GetRest() / SMALLEST_ENTRY) return FileFormatError::Create("It has fewer entries than it tells.");
    return reader;
}

Result<void> CheckEntries(Reader reader, UInt64 count) {
    DirectoryTreeOrder order;
    DirectoryTreeEntry entry;
    for (UInt64 i = 0; i < count; ++i) {
        TRY(ReadEntry(reader, entry));
        if (const char* fault = order.FindFault(entry.components, entry.kind)) {
            return FileFormatError::Create(
                FormatMessage("\"@\" can't stand in it where it does: @.", JoinForMessage(entry.components), fault));
        }
    }
    if (!reader.IsAtEnd()) return FileFormatError::Create("It has more entries than it tells.");
    return OK;
}

/// The entries, all of which are sound.
Result<Reader> CheckTree(std::string_view bytes) {
    UInt64 count = 0;
    const Reader entries = TRY(CheckFrame(bytes, count));
    TRY(CheckEntries(entries, count));
    return entries;
}

/// The bytes of an entry as a writer keeps it: depth, length of the name, name, and the rest as in the file.
struct KeptEntry {
    std::size_t depth;
    std::string_view name;  ///< with its length
    std::string_view rest;
};

KeptEntry TakeKept(std::string_view& block) {
    const std::size_t nameEnd = 3 + ToNumber<NameLength>(block.substr(1, 2));
    const std::size_t lengthAt = nameEnd + 1 + 8 + 8;
    const std::size_t end = lengthAt + 4 + ToNumber<UInt32>(block.substr(lengthAt, 4));
    const KeptEntry kept{UChar(block[0]), block.substr(1, nameEnd - 1), block.substr(nameEnd, end - nameEnd)};
    block.remove_prefix(end);
    return kept;
}

}  // namespace

const char* DirectoryTreeOrder::FindFault(const std::vector<std::string_view>& components, IO_DETECT kind) {
    const std::size_t depth = components.size();
    if (depth == 0) return "it has no name";
    if (Int(depth) > MAX_DIRECTORY_TREE_DEPTH) return "it lies too deep";
    if (!IsComponent(components.back())) return "its name is none that a file can have";
    if (depth > _last.size() + 1) return "the folder that it lies in is missing";
    // All before the last were checked as the folders that they are.
    for (std::size_t i = 0; i + 1 < depth; ++i) {
        if (components[i] != _last[i]) return "the folder that it lies in does not stand before it";
    }
    if (depth > _last.size()) {
        if (_lastKind != IO_DETECT::DIRECTORY) return "it lies in a file";
        _last.emplace_back();
    } else {
        if (components.back() <= std::string_view(_last[depth - 1])) return "it is there twice, or not in the order of names";
        _last.resize(depth);
    }
    _last.back().assign(components.back());
    _lastKind = kind;
    return nullptr;
}

Result<void> DirectoryTreeWriter::Add(const DirectoryTreeEntry& entry) {
    return CatchOutOfMemory([&]() -> Result<void> {
        const std::string dictionary = TRY(EncodeDictionary(entry.dictionary));
        const Bool isFile = entry.kind == IO_DETECT::FILE;
        const char* fault = isFile || entry.kind == IO_DETECT::DIRECTORY ? nullptr : "it is neither file nor folder";
        if (entry.size < 0) fault = "its size is not known";
        if (_blocks.empty() || _blocks.back().size() >= BLOCK_SIZE) _blocks.emplace_back();
        if (!fault) fault = _order.FindFault(entry.components, entry.kind);
        if (fault) {
            return UnsupportedArgumentError::Create(
                FormatMessage("\"@\" can't be listed: @.", JoinForMessage(entry.components), fault));
        }
        std::string& block = _blocks.back();
        AppendNumber(block, UChar(entry.components.size()));
        AppendNumber(block, NameLength(entry.components.back().size()));
        block += entry.components.back();
        block += isFile ? FILE_TAG : DIRECTORY_TAG;
        AppendNumber(block, UInt64(entry.size));
        AppendNumber(block, UInt64(entry.time.GetValue()));
        AppendNumber(block, UInt32(dictionary.size()));
        block += dictionary;
        ++_count;
        return OK;
    });
}

Result<void> DirectoryTreeWriter::Write(const Url& destination) const {
    return CatchOutOfMemory([&]() -> Result<void> {
        const OutputStreamRef stream = TRY(destination.OpenOutputStream(OUTPUT_MODE::REPLACE));
        HashedOutput output(stream);
        std::string& buffer = output.GetBuffer();
        buffer = MAGIC;
        AppendNumber(buffer, VERSION);
        AppendNumber(buffer, _count);
        std::string names;  // of the entry before, with their lengths
        std::vector<std::size_t> ends;
        for (const std::string& block : _blocks) {
            for (std::string_view left = block; !left.empty();) {
                const KeptEntry entry = TakeKept(left);
                ends.resize(entry.depth - 1);
                names.resize(ends.empty() ? 0 : ends.back());
                names += entry.name;
                ends.push_back(names.size());
                buffer += char(entry.depth);
                (buffer += names) += entry.rest;
                TRY(output.FlushIfLarge());
            }
        }
        return output.Finish();
    });
}

Result<Bool> FileUtilities::ReadDirectoryTree(const Url& file, const Receiver<DirectoryTreeEntry>& receiver) {
    return CatchOutOfMemory([&]() -> Result<Bool> {
        const MappedFileRef bytes = TRY(MappedFile::Open(file));
        Result<Reader> checked = CheckTree(bytes->GetBytes());
        if (checked.IsError()) {
            const ErrorRef error = checked.GetError();
            if (!FileFormatError::IsClassOf(error)) return error;
            return FileFormatError::Create(
                FormatMessage("@ can't be read as a list of files: @ Have it written again.", file, error->GetMessage()), error);
        }
        Reader& reader = checked.GetValue();
        DirectoryTreeEntry entry;
        while (!reader.IsAtEnd()) {
            TRY(ReadEntry(reader, entry));
            const Bool goesOn = TRY(receiver(entry));
            if (!goesOn) return false;
        }
        return true;
    });
}

}  // namespace talvo
