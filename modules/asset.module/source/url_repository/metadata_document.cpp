#include "url_repository/metadata_document.h"

#include "kernel/io/file_utilities.h"
#include "url_repository/derived_stamp.h"
#include "url_repository/metadata_file_name.h"

namespace talvo {

namespace {

constexpr LiteralId METADATA_ROOT{"net.talvo.asset.metadata"};

Result<Data> ReadDerived(const Url& file) {
    Result<Data> document = IoDocument::ReadDocument(file, METADATA_ROOT);
    // It can be computed again, so a damaged one is no loss and counts as not there.
    if (document.IsError() && FileFormatError::IsClassOf(document.GetError())) return Data();
    const Data stamped = TRY(std::move(document));
    return UnpackDerivedValue(stamped);
}

}  // namespace

Result<Data> ReadMetaDataDocument(const Url& directory, const InternedId& metaId, ASSET_METADATA_KIND kind) {
    const Url file = directory + MakeMetaDataFileName(metaId.GetView(), kind);
    Result<Data> read =
        HasFlag(kind, ASSET_METADATA_KIND::DERIVED) ? ReadDerived(file) : IoDocument::ReadDocument(file, METADATA_ROOT);
    // Looked for only now: nearly always it is there.
    if (read.IsError() && file.IoDetect() == IO_DETECT::NOT_THERE) return Data();
    return read;
}

Result<std::string> MakeMetaDataDocument(const Data& value, ASSET_METADATA_KIND kind) {
    if (!HasFlag(kind, ASSET_METADATA_KIND::DERIVED)) return WriteDocumentText(value, METADATA_ROOT, DOCUMENT_FORMAT::JSON);
    const Data stamped = TRY(PackDerivedValue(value));
    return WriteDocumentText(stamped, METADATA_ROOT, DOCUMENT_FORMAT::BINARY);
}

Result<Data> ReadMetaDataDocument(const Url& file) { return IoDocument::ReadDocument(file, METADATA_ROOT); }

}  // namespace talvo
