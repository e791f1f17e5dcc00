#include "url_repository/index_writer.h"

#include "kernel/text/format.h"
#include "kernel/thread/side_by_side.h"
#include "url_repository/metadata_file_name.h"

#include <algorithm>
#include <thread>

namespace talvo {

namespace {

// What the two directories are called until the range is known.
constexpr const char* VALUES = "values";
constexpr const char* TWINS = "twins";

}  // namespace

Result<IndexWriter> IndexWriter::Create(const Url& work) {
    for (const char* name : {VALUES, TWINS}) TRY((work + name).IoCreateDirectory());
    BufferedFile text = TRY(BufferedFile::Create(work + VALUES + "index"));
    return IndexWriter(work, std::move(text));
}

Result<void> IndexWriter::WriteLine(std::string_view tabs, std::string_view line) {
    TRY(_text.Write(tabs));
    TRY(_text.Write(line));
    return _text.Write("\n");
}

void IndexWriter::BeginAsset(std::string_view directory, std::string_view aid, std::string_view type) {
    _directory = directory;
    _aid = aid;
    _type = type;
    _hasRecord = false;
}

Result<void> IndexWriter::BeginVersion(UInt number, std::string_view versionId, std::string_view payload) {
    if (!IsIndexableName(_directory) || (!payload.empty() && !IsIndexableName(payload))) {
        return IllegalStateError::Create(FormatMessage(
            "An index can't tell of version @ of asset @: the name \"@\" or \"@\" has control characters. Give it a plain name.",
            number, _aid, _directory, payload));
    }
    if (!_hasRecord) {
        _hasRecord = true;
        TRY(WriteLine("", _directory));
        TRY(WriteLine("", _aid));
        TRY(WriteLine("", _type));
    }
    _versionId = versionId;
    _highestNumber = std::max(_highestNumber, number);
    TRY(WriteLine("\t", std::to_string(number)));
    TRY(WriteLine("\t", versionId));
    return WriteLine("\t\t", payload);
}

Result<void> IndexWriter::AddValue(const InternedId& key, ASSET_METADATA_KIND kind, const Data& value) {
    TRY(WriteLine("\t\t", MakeMetaDataFileName(key.GetView(), kind)));
    return _values[key.GetId()].Add(_aid, _versionId, value);
}

Result<void> IndexWriter::AddFile(std::string_view name) {
    // One that can't be told is found by nobody, as if it were not there; its file stays.
    return IsIndexableName(name) ? WriteLine("\t\t", name) : Result<void>(OK);
}

Result<std::vector<std::string>> IndexWriter::Finish(const IndexRange& range) {
    TRY(_text.Close());
    std::vector<std::pair<const Id, CompactedMetaDataWriter>*> keys;
    for (auto& entry : _values) keys.push_back(&entry);
    const Int threads = Int(std::thread::hardware_concurrency());
    TRY(DoSideBySide(Int(keys.size()), threads, [&](Int index) -> Result<void> {
        auto& [key, writer] = *keys[std::size_t(index)];
        const std::string name(key.GetView());
        TRY(writer.Write(_work + VALUES + name, _work + TWINS + (name + ".json")));
        writer = CompactedMetaDataWriter();
        return OK;
    }));
    const std::string name = MakeIndexRangeName(range);
    std::vector<std::string> names = {name, name + ".json"};
    TRY((_work + VALUES).IoRename(_work + names[0], RENAME_MODE::NO_REPLACE));
    TRY((_work + TWINS).IoRename(_work + names[1], RENAME_MODE::NO_REPLACE));
    return names;
}

}  // namespace talvo
