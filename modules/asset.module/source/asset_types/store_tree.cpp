// Payloads: how a file or a directory is copied into a repository, and the hash that names its content.
#include "assets/asset_type.h"
#include "kernel/app/log.h"
#include "kernel/io/connection.h"
#include "kernel/io/file_utilities.h"
#include "kernel/text/casing.h"
#include "kernel/text/format.h"

#include <algorithm>
#include <string>
#include <vector>

namespace talvo {

namespace {

constexpr std::size_t DIGEST_LENGTH = 32;
// Far below what a stack holds, far above what people nest: deeper trees are loops.
constexpr Int MAX_DEPTH = 200;

/// One name of a directory that goes into the payload.
struct TreeEntry {
    std::string folded;  ///< what the hash sees of the name
    std::string name;
};

class TreeStore {
public:
    explicit TreeStore(const AssetHashStream& hashStream) : _hashStream(hashStream) {}

    Result<void> Store(const Url& source, const Url& target, std::string& digest, Int depth) const {
        switch (source.IoDetect()) {
            case IO_DETECT::DIRECTORY: return StoreDirectory(source, target, digest, depth);
            case IO_DETECT::FILE: return StoreFile(source, target, digest);
            case IO_DETECT::NOT_THERE: return IoError::Create(FormatMessage("@ isn't there (any more).", source));
            case IO_DETECT::OTHER: return IoError::Create(FormatMessage("@ is neither a file nor a directory.", source));
            case IO_DETECT::FAILED: break;
        }
        return IoError::Create(
            FormatMessage("@ can't be read. Check the permissions of it and of the directories above it.", source));
    }

private:
    Result<void> StoreDirectory(const Url& source, const Url& target, std::string& digest, Int depth) const {
        if (depth >= MAX_DEPTH) {
            return IoError::Create(
                FormatMessage("The directory @ lies more than @ levels deep. Store a flatter tree.", source, MAX_DEPTH));
        }
        if (target.IsPopulated()) TRY(target.IoCreateDirectory());
        const std::vector<TreeEntry> entries = TRY(ListEntries(source));
        std::string listing;
        for (const TreeEntry& entry : entries) {
            std::string childDigest;
            TRY(Store(source + entry.name, target.IsPopulated() ? target + entry.name : Url(), childDigest, depth + 1));
            if (_hashStream) TRY(AppendLine(listing, childDigest, entry));
        }
        return _hashStream ? HashText(listing, digest) : Result<void>(OK);
    }

    /// What belongs to the payload, in the order of the hash.
    static Result<std::vector<TreeEntry>> ListEntries(const Url& directory) {
        const IoConnectionRef connection = TRY(directory.OpenConnection());
        const BaseArray<IoEntry> found = TRY(connection->Browse(BROWSE_MODE::NAMES));
        std::vector<TreeEntry> entries;
        for (const IoEntry& entry : found) {
            const Bool isContent = TRY(IsContent(directory + entry.name, entry.kind));
            if (isContent) entries.push_back({FoldNameFrozen(entry.name), entry.name});
        }
        // Names that fold alike: by their raw bytes, so that the hash doesn't depend on the order of creation.
        std::sort(entries.begin(), entries.end(), [](const TreeEntry& first, const TreeEntry& second) {
            return std::tie(first.folded, first.name) < std::tie(second.folded, second.name);
        });
        return entries;
    }

    /// Links may lead anywhere and fifos never end: a payload is made of files and directories only.
    static Result<Bool> IsContent(const Url& url, IO_DETECT kind) {
        const IoConnectionRef connection = TRY(url.OpenConnection());
        const Result<Bool> isLink = connection->IoIsLink();
        if (isLink.IsError() && !UnsupportedOperationError::IsClassOf(isLink.GetError())) return isLink.GetError();
        if (isLink.IsOk() && isLink.GetValue()) {
            Log(LOG_LEVEL::WARNING, "The link @ isn't stored: payloads are made of files and directories only.", url);
            return false;
        }
        if (kind == IO_DETECT::OTHER) {
            Log(LOG_LEVEL::WARNING, "@ isn't stored: it is neither a file nor a directory.", url);
            return false;
        }
        return true;
    }

    static Result<void> AppendLine(std::string& listing, const std::string& digest, const TreeEntry& entry) {
        CHECK_STATE(digest.size() == DIGEST_LENGTH, "hash.GetLength() == HASH_LEN/2");
        listing.append(ToHex(digest)).append("  ").append(entry.folded).append("\n");
        return OK;
    }

    Result<void> HashText(std::string_view text, std::string& digest) const {
        const OutputStreamRef nowhere = TRY(CreateNullOutputStream());
        const OutputStreamRef output = TRY(_hashStream(nowhere, digest));
        TRY(output->Write(text));
        return output->Close();
    }

    Result<void> StoreFile(const Url& source, const Url& target, std::string& digest) const {
        const InputStreamRef input = TRY(source.OpenInputStream());
        const Int64 expected = input->GetStreamLength();
        OutputStreamRef output =
            TRY(target.IsPopulated() ? target.OpenOutputStream(OUTPUT_MODE::OVERWRITE) : CreateNullOutputStream());
        if (_hashStream) output = TRY(_hashStream(output, digest));
        const Int64 copied = TRY(FileUtilities::CopyStream(*input, *output));
        if (expected >= 0 && copied != expected) {
            return IoError::Create(FormatMessage(
                "The size of @ changed from @ to @ bytes while it was read. Store it again when nobody writes to it.", source,
                expected, copied));
        }
        TRY(input->CheckUnchanged());
        TRY(input->Close());
        return output->Close();
    }

    const AssetHashStream& _hashStream;
};

/// A target in its own source would be copied into itself until the disk is full.
Result<void> CheckTargetOutside(const Url& source, const Url& target) {
    if (target.IsEmpty() || source.GetScheme() != target.GetScheme() || source.GetAuthority() != target.GetAuthority()) return OK;
    std::string root(source.GetPath());
    while (root.ends_with('/')) root.pop_back();
    const std::string_view path = target.GetPath();
    if (path != root && !path.starts_with(root + "/")) return OK;
    return IllegalArgumentError::Create(FormatMessage(
        "@ can't be stored to @, which lies inside of it. Store a directory that doesn't hold the repository.", source, target));
}

}  // namespace

Result<void> StoreTree(const Url& source, const Url& target, const AssetHashStream& hashStream, std::string& digest) {
    return CatchOutOfMemory([&]() -> Result<void> {
        TRY(CheckTargetOutside(source, target));
        return TreeStore(hashStream).Store(source, target, digest, 0);
    });
}

}  // namespace talvo
