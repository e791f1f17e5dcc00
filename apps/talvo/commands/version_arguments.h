// What commands on one version have in common: REPO ID [--version V].
#pragma once

#include "apps/talvo/command.h"
#include "apps/talvo/output.h"
#include "apps/talvo/repository_opener.h"
#include "apps/talvo/version_record.h"
#include "apps/talvo/version_selector.h"

namespace talvo {

/// The help of REPO.
inline constexpr const char* REPO_HELP = "folder of the repository, or user, app or builtin";
/// The help of --version.
inline constexpr const char* VERSION_HELP =
    "'#COUNTER', a version id, or at least 4 first characters of one (default: the newest)";

struct VersionArguments {
    std::string repository;
    std::string id;
    Opt<std::string> version;

    void Declare(ArgumentList& arguments) {
        DeclareAsset(arguments);
        arguments.AddOption("--version", "V", version, VERSION_HELP);
    }
    void DeclareAsset(ArgumentList& arguments) {
        arguments.AddRequired("REPO", repository, REPO_HELP);
        arguments.AddRequired("ID", id, "id of the asset");
    }
};

/// A repository and a version in it. The first keeps the second usable.
struct OpenedVersion {
    UpdatableAssetRepositoryRef repository;
    AssetDescription description;

    /// To read: bases are searched, too.
    static Result<OpenedVersion> OpenToRead(const VersionArguments& arguments, const CommonOptions& options) {
        OpenedVersion opened;
        opened.repository = TRY(RepositoryOpener::Open(arguments.repository, options));
        opened.description =
            TRY(VersionSelector::Select(opened.repository, arguments.id, arguments.version, VersionSelector::SCOPE::WITH_BASES));
        return opened;
    }
    /// To change: the version must lie in the repository itself.
    static Result<OpenedVersion> OpenToWrite(const VersionArguments& arguments, const CommonOptions& options) {
        OpenedVersion opened;
        opened.repository = TRY(RepositoryOpener::Open(arguments.repository, options));
        opened.description = TRY(
            VersionSelector::Select(opened.repository, arguments.id, arguments.version, VersionSelector::SCOPE::REPOSITORY_ONLY));
        return opened;
    }
};

/// Shows a version that was just stored: a version object, or a line for people.
inline Result<void> WriteStored(Output& output, const AssetDescription& description) {
    const VersionRecord record = VersionRecord::Read(description);
    if (output.IsJson()) return output.WriteJson(DocumentValue(record.ToJson()));
    return output.WriteLine(FormatMessage("@  #@  @", record.id, record.key.counter, record.version));
}

}  // namespace talvo
