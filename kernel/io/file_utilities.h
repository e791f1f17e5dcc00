// Whole files, copies and trees, on any url.
#pragma once

#include "kernel/data/document.h"
#include "kernel/io/connection.h"

namespace talvo {

namespace FileUtilities {

/// The whole content. @param limit in bytes; more is IoError that says so, before it is read.
Result<std::string> ReadFileToMemory(const Url& url, Int64 limit);
/// The same for what is left of an open stream.
Result<std::string> ReadStreamToMemory(InputStream& input, Int64 limit);
/// Replaces the file whole (OUTPUT_MODE::REPLACE).
Result<void> WriteFileFromMemory(const Url& url, std::string_view bytes);
/// Copies what is left of `input` to `output`. Neither is closed. @return how many bytes.
/// Errors: those of both; IoError if `input` ends before the length that it told.
Result<Int64> CopyStream(InputStream& input, OutputStream& output);

/// A file, or a directory entry by entry. Below it, links to files are copied as files; links to directories, fifos, sockets,
/// devices and dangling links are passed over and named in `passedOver` (may be null). What is in a target directory already
/// stays, unless it has the name of something copied. An error leaves what was copied before it.
/// Errors: IoError that names what can't be read or written; IllegalArgumentError if `target` lies in the directory `source`.
Result<void> CopyFileOrDirectory(const Url& source, const Url& target, BaseArray<Url>* passedOver);
/// Sum of the sizes of the file or of all files below the directory; what CopyFileOrDirectory passes over counts nothing.
Result<Int64> GetSize(const Url& url);
/// Makes all that was written to the file system of `url` survive a loss of power: one call at the end of much work, where
/// syncing each file costs more. Nothing to do for urls that are no files of the system.
Result<void> SyncFileSystem(const Url& url);

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
