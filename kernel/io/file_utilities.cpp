#include "kernel/io/file_utilities.h"

#include "kernel/io/file_errors.h"
#include "kernel/io/posix_files.h"
#include "kernel/text/format.h"

#include <algorithm>
#include <utility>

namespace talvo {

namespace {

constexpr std::size_t BLOCK_SIZE = std::size_t(256) << 10;

ErrorRef MakeTooLargeError(const InputStream& input, Int64 limit) {
    return IoError::Create(FormatMessage("Can't read @: It has more than @ bytes. Use a smaller file.", input.GetName(), limit));
}

Result<std::string> ReadAll(InputStream& input, Int64 limit) {
    const Int64 length = input.GetStreamLength() < 0 ? -1 : input.GetStreamLength() - input.GetPosition();
    if (length > limit) return MakeTooLargeError(input, limit);
    std::string bytes;
    for (;;) {
        // One byte more than the length tells: so a file is read in one go, and one that grew shows it.
        const std::size_t done = bytes.size();
        const Int64 wanted = done == 0 && length > 0 ? length + 1 : 4096;
        bytes.resize(done + std::size_t(wanted));
        const Int64 read = TRY(input.ReadEOS(Block<char>(bytes.data() + done, std::size_t(wanted))));
        bytes.resize(done + std::size_t(read));
        if (Int64(bytes.size()) > limit) return MakeTooLargeError(input, limit);
        if (read < wanted) return bytes;
    }
}

}  // namespace

Result<std::string> FileUtilities::ReadFileToMemory(const Url& url, Int64 limit) {
    const InputStreamRef input = TRY(url.OpenInputStream());
    return ReadStreamToMemory(*input, limit);
}

Result<std::string> FileUtilities::ReadStreamToMemory(InputStream& input, Int64 limit) {
    return CatchOutOfMemory([&] { return ReadAll(input, limit); });
}

Result<void> FileUtilities::WriteFileFromMemory(const Url& url, std::string_view bytes) {
    const OutputStreamRef output = TRY(url.OpenOutputStream(OUTPUT_MODE::REPLACE));
    TRY(output->Write(bytes));
    return output->Close();
}

Result<Int64> FileUtilities::CopyStream(InputStream& input, OutputStream& output) {
    return CatchOutOfMemory([&]() -> Result<Int64> {
        const Int64 length = input.GetStreamLength();
        const Int64 start = input.GetPosition();
        std::string buffer(length < 0 ? BLOCK_SIZE : std::size_t(std::clamp<Int64>(length - start + 1, 1, Int64(BLOCK_SIZE))),
                           '\0');
        Int64 copied = 0;
        for (;;) {
            const Int64 read = TRY(input.ReadEOS(Block<char>(buffer.data(), buffer.size())));
            TRY(output.Write(std::string_view(buffer).substr(0, std::size_t(read))));
            copied += read;
            if (read < Int64(buffer.size())) break;
        }
        if (length >= 0 && start + copied < length) return MakeFileError("read", input.GetName().GetView(), BECAME_SHORTER);
        return copied;
    });
}

Result<void> FileUtilities::SyncFileSystem(const Url& url) {
    if (url.GetScheme() != URLSCHEME_FILESYSTEM) return OK;
    const std::string path = TRY(url.GetSystemPath());
    return CheckFile(PosixFiles::SyncFileSystem(path), "sync the disk of", path);
}

Opt<std::string> LineReader::ReadLine() {
    if (_rest.empty()) return {};
    const std::size_t end = std::min(_rest.find('\n'), _rest.size());
    std::string line(_rest.substr(0, end));
    std::erase(line, '\r');
    _rest.remove_prefix(std::min(end + 1, _rest.size()));
    return line;
}

}  // namespace talvo
