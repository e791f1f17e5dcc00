#include "apps/talvo/commands/all_commands.h"
#include "apps/talvo/commands/version_arguments.h"
#include "apps/talvo/payload.h"

namespace talvo {

namespace {

class CatCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"cat", "Write the content of a version to standard output.",
                "talvo cat shelf chair > chair.obj\ntalvo cat shelf set --path textures/wood.png > wood.png"};
    }

    void DeclareArguments(ArgumentList& arguments) override {
        _arguments.Declare(arguments);
        arguments.AddOption("--path", "INNER", _inner, "a file in the folder that is the content");
    }

    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const OpenedVersion opened = TRY(OpenedVersion::OpenToRead(_arguments, options));
        Url url = TRY(Payload::GetUrl(opened.description));
        if (_inner) url = TRY(Payload::GetInnerFile(url, *_inner));
        TRY(Payload::WriteTo(output, url));
        return EXIT_CODE::DONE;
    }

private:
    VersionArguments _arguments;
    Opt<std::string> _inner;
};

}  // namespace

std::unique_ptr<Command> MakeCatCommand() { return std::make_unique<CatCommand>(); }

}  // namespace talvo
