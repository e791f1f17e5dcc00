// The one road by which a value is written after its version exists.
#include "asset_impl/repository_engine.h"
#include "asset_scheme/resolve_info.h"
#include "kernel/text/message_text.h"

namespace talvo {

namespace {

Bool IsMetaIdCharacter(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-' || c == '.' || c == '_';
}

/// The character that begins at `at`, for a message.
std::string GetCharacterAt(const String& text, Int at) { return ToText(text.GetPart(at, 1)); }

}  // namespace

Result<void> CheckMetaId(const InternedId& metaId) {
    const String text = String::FromId(metaId.GetId());
    const Int length = text.GetLength();
    for (Int i = 0; i < length; ++i) {
        const Utf32Char c = text.GetChar(i);
        if (c < 0x80 && IsMetaIdCharacter(char(c))) continue;
        return IllegalArgumentError::Create(FormatMessage("Meta data id @ contains illegal character @.",
                                                          ShortenForMessage(text.GetView()), GetCharacterAt(text, i)));
    }
    return OK;
}

Result<void> RepositoryEngine::WriteMetaData(const MetaDataWrite& write) {
    if (IsRepositoryContent(write.kind)) TRY(CheckWritable());
    const auto metaData =
        write.asset ? Cast<AssetMetaDataImpl>(StrongRef<AssetMetaDataInterface>(write.asset->GetMetaData())) : nullptr;
    if (!metaData || metaData.GetPointer() == AssetMetaData::DefaultValuePtr().GetPointer()) {
        return IllegalArgumentError::Create(FormatMessage(
            "Invalid asset description @.", write.asset ? ToText(write.asset->ToString()) : std::string("nullptr")));
    }
    TRY(CheckMetaId(write.metaId));

    const Bool asFile = write.form == MetaDataWrite::FORM::FILE;
    const Bool removes = asFile ? write.source.IsEmpty() : write.data.IsEmpty();
    const auto change =
        TRY(metaData->StoreThrough(write.metaId, removes ? AssetMetaDataImpl::CHANGE::REMOVE : AssetMetaDataImpl::CHANGE::SET,
                                   write.kind, [&](const Data& vdata, KIND kind) -> Result<Data> {
                                       // The entry may be of another kind than the one asked for, and that is the one that is written.
                                       if (IsRepositoryContent(kind)) TRY(CheckWritable());
                                       return _self.StoreMetaDataImpl(vdata, write.metaId, WithoutDescription(write.data),
                                                                      write.asset->GetIdAndVersion(), write.source, kind, asFile);
                                   }));
    _self.HandleMetaDataStored(write.asset, write.metaId, change.kind, change.previous, change.current);
    return OK;
}

}  // namespace talvo
