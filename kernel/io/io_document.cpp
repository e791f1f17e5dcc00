#include "kernel/io/file_utilities.h"
#include "kernel/text/format.h"

namespace talvo {

Result<Data> IoDocument::ReadDocument(const Url& url, const Id& rootId) {
    const InputStreamRef input = TRY(url.OpenInputStream());
    if (input->GetStreamLength() > MAX_DOCUMENT_SIZE) {
        return FileFormatError::Create(FormatMessage("@ is no document: it has more than @ bytes.", url, MAX_DOCUMENT_SIZE));
    }
    const std::string bytes = TRY(FileUtilities::ReadStreamToMemory(*input, MAX_DOCUMENT_SIZE));
    const std::string name = url.ToString().GetCString();
    return CatchOutOfMemory([&] { return ReadDocumentText(bytes, rootId, name); });
}

Result<void> IoDocument::WriteDocument(const Url& url, const Data& data, const Id& rootId, DOCUMENT_FORMAT format) {
    const std::string bytes = TRY(CatchOutOfMemory([&] { return WriteDocumentText(data, rootId, format); }));
    return FileUtilities::WriteFileFromMemory(url, bytes);
}

}  // namespace talvo
