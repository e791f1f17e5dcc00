// Checks of one asset: its info, its versions, their payloads and documents.
#include "assets/asset_type.h"
#include "kernel/io/file_utilities.h"
#include "kernel/text/format.h"
#include "url_repository/asset_info.h"
#include "url_repository/hash_file.h"
#include "url_repository/metadata_document.h"
#include "url_repository/tree_access.h"
#include "url_repository/url_asset_repository.h"
#include "url_repository/verify.h"

namespace talvo {

namespace {

using PROBLEM = RepositoryFinding::PROBLEM;

/// The finding that something can't be read, whatever the check was about.
String Explain(const ErrorRef& error) { return String(error->GetMessage()); }

class AssetChecker {
public:
    explicit AssetChecker(const Url& directory) { _check.directory = directory; }

    AssetCheck Run() && {
        const Result<void> done = CatchOutOfMemory([&] { return CheckAsset(); });
        if (done.IsError()) Report(PROBLEM::PAYLOAD_UNREADABLE, _check.directory, Explain(done.GetError()));
        return std::move(_check);
    }

private:
    void Report(PROBLEM problem, const Url& path, String explanation) {
        _check.findings.push_back({_check.id.value_or(Id()), _version, problem, std::move(explanation), path});
    }

    Result<void> CheckAsset() {
        const std::vector<VersionDirectory> versions = TRY(ScanAssetDirectory(_check.directory));
        const Url infoFile = _check.directory + ASSET_INFO_NAME;
        const Result<Opt<AssetInfo>> info = ReadAssetInfo(_check.directory);
        if (info.IsError()) {
            Report(PROBLEM::ASSET_INFO_DAMAGED, infoFile, Explain(info.GetError()));
        } else if (info.GetValue()) {
            _check.id = info.GetValue()->id;
        } else if (!versions.empty() || infoFile.IoDetect() != IO_DETECT::NOT_THERE) {
            Report(PROBLEM::ASSET_INFO_DAMAGED, infoFile,
                   "It doesn't say which asset this is, so that its versions are not seen. Restore its two lines: asset id and "
                   "type.");
        } else {
            return OK;  // somebody's folder
        }
        TRY(ReportLeftovers(_check.directory));
        CheckVersions(versions);
        return OK;
    }

    Result<void> ReportLeftovers(const Url& directory) {
        const IoConnectionRef connection = TRY(directory.OpenConnection());
        const BaseArray<IoEntry> entries = TRY(connection->Browse(BROWSE_MODE::NAMES));
        for (const IoEntry& entry : entries) {
            if (!IsWorkName(entry.name)) continue;
            Report(PROBLEM::LEFTOVER, directory + entry.name,
                   "Work in progress, or the rest of work that was cut off. gc removes it when it is old.");
        }
        return OK;
    }

    void CheckVersions(const std::vector<VersionDirectory>& versions) {
        Opt<UInt> last;
        for (const VersionDirectory& version : versions) {
            const Url directory = _check.directory + version.name;
            _version = Id();
            if (last == version.meaning.number) {
                Report(PROBLEM::PAYLOAD_DOUBLED, directory,
                       "Another directory has the same version number, so that this one is not seen. Remove one.");
                continue;
            }
            const Result<Bool> isVersion = CatchOutOfMemory([&] { return CheckVersion(directory, version.meaning); });
            if (isVersion.IsError()) Report(PROBLEM::PAYLOAD_UNREADABLE, directory, Explain(isVersion.GetError()));
            if (isVersion.IsError() || isVersion.GetValue()) last = version.meaning.number;
        }
    }

    Result<Bool> CheckVersion(const Url& directory, const VersionDirectoryName& name) {
        TRY(ReportLeftovers(directory));
        const VersionContent content = TRY(ScanVersionDirectory(directory));
        const Bool deleted = name.form == VersionDirectoryName::FORM::DELETED;
        if (!deleted && content.payloads.empty()) {
            Report(PROBLEM::PAYLOAD_MISSING, directory,
                   "The version has no payload, so that it is not seen. Restore the payload, or remove the directory.");
            return false;
        }
        ++_check.versions;
        if (deleted) {
            _version = DELETED_VERSION;
        } else {
            CheckPayloads(directory, name, content);
        }
        CheckDocuments(directory, content);
        return true;
    }

    void CheckPayloads(const Url& directory, const VersionDirectoryName& name, const VersionContent& content) {
        const std::string counted = content.GetPayload();
        const std::string expected = FindExpectedDigest(directory, name, content);
        for (const std::string& payload : content.payloads) {
            if (payload == counted) continue;
            Report(PROBLEM::PAYLOAD_DOUBLED, directory + payload,
                   FormatString("The version has more than one payload; @ counts. Remove the others.", counted));
        }
        CheckDigest(directory + counted, expected);
    }

    /// The digest that the payload must have; empty if nobody knows.
    std::string FindExpectedDigest(const Url& directory, const VersionDirectoryName& name, const VersionContent& content) {
        if (name.form == VersionDirectoryName::FORM::WITH_VERSION_ID) {
            _version = std::move(Id::Create(name.versionId)).GetValueOr(Id());
            return {};
        }
        const Url file = directory + HASH_FILE_NAME;
        if (!content.hasHash) {
            Report(PROBLEM::HASH_MISSING, file,
                   "The version has no hash, so that its payload can't be checked. It is made when the version is next opened "
                   "for writing.");
            return {};
        }
        const Result<std::string> text = FileUtilities::ReadFileToMemory(file, MAX_HASH_FILE_SIZE);
        Opt<HashFile> hash = text.IsOk() ? ParseHashFile(text.GetValue()) : std::nullopt;
        if (!hash) {
            Report(PROBLEM::HASH_MISSING, file,
                   text.IsError() ? Explain(text.GetError())
                                  : String("It holds no version id. Restore it, or remove it to have it made again."));
            return {};
        }
        _version = hash->versionId;
        if (!hash->digest.empty()) return hash->digest;
        if (IsDigestText(_version.GetView())) return ToText(String::FromId(_version).ToLower());
        Report(PROBLEM::HASH_MISSING, file,
               "The version id is no hash and there is none beside it, so that the payload can't be checked.");
        return {};
    }

    void CheckDigest(const Url& payload, const std::string& expected) {
        std::string digest;
        const Result<void> read = StoreTree(payload, Url(), MakePayloadHashStream(), digest);
        if (read.IsError()) {
            Report(PROBLEM::PAYLOAD_UNREADABLE, payload, Explain(read.GetError()));
            return;
        }
        _check.bytes += FileUtilities::GetSize(payload).GetValueOr(0);
        if (expected.empty() || ToHex(digest) == expected) return;
        Report(
            PROBLEM::PAYLOAD_CHANGED, payload,
            FormatString("Its bytes have the hash @, and were stored with @. Restore it from a copy.", ToHex(digest), expected));
    }

    void CheckDocuments(const Url& directory, const VersionContent& content) {
        Bool hasTime = false;
        for (const auto& [name, meaning] : content.metaData) {
            if (meaning.form != MetaDataFileName::FORM::DOCUMENT) continue;
            const Bool isTime = meaning.kind == KIND_STORE_TIME;
            hasTime = hasTime || isTime;
            const Url file = directory + name;
            const Result<Data> read = ReadMetaDataDocument(file);
            if (read.IsError()) {
                Report(PROBLEM::DOCUMENT_DAMAGED, file, Explain(read.GetError()));
            } else if (isTime && !read.GetValue().GetPtr<UniversalDateTime>()) {
                Report(PROBLEM::DOCUMENT_DAMAGED, file,
                       "It holds no point in time, so that the version comes before all others.");
            }
        }
        if (!hasTime) {
            Report(PROBLEM::TIMESTAMP_MISSING, directory,
                   "The version has no time, so that it comes before all others. Restore net.talvo.asset.timestamp.version.");
        }
    }

    AssetCheck _check;
    Id _version;
};

}  // namespace

AssetCheck CheckAssetDirectory(const Url& directory) { return AssetChecker(directory).Run(); }

}  // namespace talvo
