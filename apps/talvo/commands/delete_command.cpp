#include "apps/talvo/commands/all_commands.h"
#include "apps/talvo/commands/version_arguments.h"
#include "apps/talvo/signals.h"

namespace talvo {

namespace {

class DeleteCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"delete", "Mark an asset as deleted.", "talvo delete shelf chair",
                "Nothing is lost: the versions before the deletion marker stay. \"talvo erase\" on the marker brings the asset "
                "back."};
    }

    void DeclareArguments(ArgumentList& arguments) override { _arguments.DeclareAsset(arguments); }

    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const AssetRepositoryRef repository = TRY(RepositoryOpener::Open(_arguments.repository, options));
        const Id id = TRY(Id::Create(_arguments.id));
        Signals::StopAtSafePoint();
        const AssetDescription marker = TRY(repository->DeleteAsset(id));
        TRY(RepositoryOpener::Sync(repository, RepositoryOpener::SYNC::IF_DURABLE));
        TRY(WriteStored(output, marker));
        return EXIT_CODE::DONE;
    }

private:
    VersionArguments _arguments;
};

}  // namespace

std::unique_ptr<Command> MakeDeleteCommand() { return std::make_unique<DeleteCommand>(); }

}  // namespace talvo
