// Whole files, copies and trees, on any url.
#pragma once

#include "kernel/io/connection.h"
#include "kernel/data/document.h"

namespace talvo {

namespace FileUtilities {

/// The whole content. @param limit in bytes; more is IoError that says so.
Result<std::string> ReadFileToMemory(const Url& url, Int64 limit);
/// Replaces the file whole (OUTPUT_MODE::REPLACE).
Result<void> WriteFileFromMemory(const Url& url, std::string_view bytes);
/// Copies what is left of `input` to `output`. Neither is closed. @return how many bytes.
Result<Int64> CopyStream(InputStream& input, OutputStream& output);

enum class COPY_LINKS { FOLLOW_FILES, PASS_OVER };
/// A file, or a directory entry by entry. Entries that are neither are passed over and named in `passedOver` (may be null);
/// links to directories are never followed. The target of a directory must not lie in the source.
Result<void> CopyFileOrDirectory(const Url& source, const Url& target, BaseArray<Url>* passedOver);
/// Sum of the sizes of the file or of all files below the directory.
Result<Int64> GetSize(const Url& url);

}  // namespace FileUtilities

/// Reads lines: CR is dropped wherever it stands, LF or the end of the text ends a line. No line if nothing was left.
class LineReader {
public:
    explicit LineReader(std::string_view text) : _rest(text) {}
    Opt<std::string> ReadLine();

private:
    std::string_view _rest;
};

namespace IoDocument {

/// Errors: those of opening and of ReadDocumentText (FileFormatError names the url); over MAX_DOCUMENT_SIZE: FileFormatError.
Result<Data> ReadDocument(const Url& url, const Id& rootId);
/// Replaces the file whole or not at all.
Result<void> WriteDocument(const Url& url, const Data& data, const Id& rootId, DOCUMENT_FORMAT format);

}  // namespace IoDocument

}  // namespace talvo
