#include "apps/talvo/commands/all_commands.h"
#include "apps/talvo/commands/version_arguments.h"
#include "apps/talvo/file_identity.h"
#include "apps/talvo/signals.h"

namespace talvo {

namespace {

class CopyCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"copy", "Copy a version to another repository.",
                "talvo copy shelf chair /mnt/shared/shelf\ntalvo copy shelf chair shelf --id chair-copy",
                "The copy keeps its version id and its metadata."};
    }

    void DeclareArguments(ArgumentList& arguments) override {
        _arguments.DeclareAsset(arguments);
        arguments.AddRequired("TO", _target, "folder of the repository that gets the copy");
        arguments.AddOption("--id", "NEW", _id, "id of the copy (default: the same)");
        arguments.AddOption("--version", "V", _arguments.version, VERSION_HELP);
        arguments.AddFlag("--overwrite", _overwrite, "in place of the newest version there");
    }

    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const UpdatableAssetRepositoryRef target = TRY(OpenTarget(options));
        const UpdatableAssetRepositoryRef source =
            TRY(IsTargetTheSource() ? Result<UpdatableAssetRepositoryRef>(target)
                                    : RepositoryOpener::Open(_arguments.repository, options));
        const AssetDescription description =
            TRY(VersionSelector::Select(source, _arguments.id, _arguments.version, VersionSelector::SCOPE::WITH_BASES));
        const Id id = TRY(Id::Create(_id.value_or(_arguments.id)));
        Signals::StopAtSafePoint();
        const AssetDescription stored = TRY(target->CopyAsset(id, description, false, _overwrite));
        TRY(RepositoryOpener::Sync(target, RepositoryOpener::SYNC::IF_DURABLE));
        TRY(WriteStored(output, stored));
        return EXIT_CODE::DONE;
    }

private:
    // One folder is opened once, so that both sides know what the other does.
    Bool IsTargetTheSource() const {
        const Opt<FileIdentity> target = FindFileIdentity(_target);
        return target && target == FindFileIdentity(_arguments.repository);
    }

    Result<UpdatableAssetRepositoryRef> OpenTarget(const CommonOptions& options) const {
        CommonOptions targetOptions = options;
        if (!IsTargetTheSource()) targetOptions.bases.clear();  // they belong to the source
        return RepositoryOpener::Open(_target, targetOptions);
    }

    VersionArguments _arguments;
    std::string _target;
    Opt<std::string> _id;
    Bool _overwrite = false;
};

}  // namespace

std::unique_ptr<Command> MakeCopyCommand() { return std::make_unique<CopyCommand>(); }

}  // namespace talvo
