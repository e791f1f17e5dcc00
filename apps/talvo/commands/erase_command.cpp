#include "apps/talvo/commands/all_commands.h"
#include "apps/talvo/commands/version_arguments.h"
#include "apps/talvo/signals.h"

namespace talvo {

namespace {

class EraseCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"erase", "Remove one version for good.", "talvo erase shelf chair '#2'",
                "Its content and metadata are gone afterwards; other versions stay."};
    }

    void DeclareArguments(ArgumentList& arguments) override {
        _arguments.DeclareAsset(arguments);
        arguments.AddRequired("V", _version, "'#COUNTER', a version id, or at least 4 first characters of one");
    }

    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        _arguments.version = _version;
        const OpenedVersion opened = TRY(OpenedVersion::OpenToWrite(_arguments, options));
        const auto [id, version] = opened.description->GetIdAndVersion();
        const UInt counter = opened.description.GetVersionKey().counter;
        Signals::StopAtSafePoint();
        TRY(opened.repository->EraseAsset(opened.description));
        TRY(RepositoryOpener::Sync(opened.repository, RepositoryOpener::SYNC::IF_DURABLE));
        if (!output.IsJson()) {
            output.PrintNote(FormatMessage("@ #@ is erased.", id, counter));
            return EXIT_CODE::DONE;
        }
        DocumentValue::ObjectType object;
        object.emplace_back("id", ToJsonText(id));
        object.emplace_back("version", ToJsonText(version));
        object.emplace_back("erased", true);
        TRY(output.WriteJson(DocumentValue(std::move(object))));
        return EXIT_CODE::DONE;
    }

private:
    VersionArguments _arguments;
    std::string _version;
};

}  // namespace

std::unique_ptr<Command> MakeEraseCommand() { return std::make_unique<EraseCommand>(); }

}  // namespace talvo
