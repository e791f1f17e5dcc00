#include "url_repository/metadata_files.h"

#include "asset_scheme/url_parts.h"
#include "kernel/app/log.h"
#include "url_repository/metadata_document.h"
#include "url_repository/tree_access.h"

namespace talvo {

namespace {

/// Nobody sees half of a value, be it a whole tree.
Result<void> RemoveFile(const Url& directory, const Url& file) {
    if (file.IoDetect() != IO_DETECT::DIRECTORY) return file.IoDelete();
    const Url hidden = TRY(HideDirectory(file));
    DeleteHidden(directory, hidden);
    return OK;
}

}  // namespace

Result<void> AddMetaDataFiles(const IdAndVersion& asset, const Url& directory, const VersionContent& content, KIND tree,
                              AssetMetaDataTable& table) {
    for (const auto& [name, meaning] : content.metaData) {
        // The side trees hold nothing but their own kind.
        const KIND kind = meaning.kind | tree;
        const Bool isForeign = tree == KIND::DERIVED && kind != meaning.kind;
        if (isForeign || !IsStorableKind(kind)) continue;
        const Id key = TRY(Id::Create(meaning.key));
        const InternedId id(key);
        // The first one counts: the repository's own before the side trees, a document before a file.
        if (table.Contains(id)) continue;
        AssetMetaDataEntry entry{Data(), kind, false, 1};
        if (meaning.form == MetaDataFileName::FORM::FILE) {
            entry.value = Data(MakeMetaUrl(asset, name, directory + name));
            entry.loaded = true;
        }
        TRY(table.Insert(id, std::move(entry)));
    }
    return OK;
}

Result<std::vector<Url>> FindValueFiles(const Url& directory, const InternedId& metaId, KIND kind, std::string_view except) {
    const std::string document = MakeMetaDataFileName(metaId.GetView(), kind);
    const VersionContent content = TRY(ScanVersionDirectory(directory));
    std::vector<Url> files;
    for (const auto& [name, meaning] : content.metaData) {
        const Bool isSame = meaning.key == metaId.GetView() && MakeMetaDataFileName(meaning.key, meaning.kind) == document;
        if (isSame && name != except) files.push_back(directory + name);
    }
    return files;
}

Result<void> RemoveValueFiles(const Url& directory, const std::vector<Url>& files, Int& removed) {
    return CatchOutOfMemory([&]() -> Result<void> {
        for (const Url& file : files) {
            TRY(RemoveFile(directory, file));
            ++removed;
        }
        return files.empty() ? Result<void>(OK) : SyncNames(directory);
    });
}

Result<void> ReplaceMetaDataDocument(const Url& directory, const InternedId& metaId, const Data& data, KIND kind) {
    const std::string text = TRY(MakeMetaDataDocument(data, kind));
    const std::string name = MakeMetaDataFileName(metaId.GetView(), kind);
    std::vector<Url> others;
    if (!HasFlag(kind, KIND::DERIVED)) others = TRY(FindValueFiles(directory, metaId, kind, name));
    TRY(ReplaceFile(directory + name, text));
    // The document counts before them, so what stays of them is never read.
    Int removed = 0;
    const Result<void> done = RemoveValueFiles(directory, others, removed);
    if (done.IsError())
        Log(LOG_LEVEL::WARNING, "A former value of @ stays beside it: @", directory + name, done.GetError()->GetMessage());
    return OK;
}

Result<void> DropDerivedDocuments(const Url& directory) {
    const VersionContent content = TRY(ScanVersionDirectory(directory));
    for (const auto& [name, meaning] : content.metaData) {
        const Bool isDerived = HasFlag(meaning.kind, KIND::DERIVED) && meaning.form == MetaDataFileName::FORM::DOCUMENT;
        if (isDerived) TRY((directory + name).IoDelete());
    }
    return OK;
}

}  // namespace talvo
