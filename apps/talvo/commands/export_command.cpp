#include "apps/talvo/commands/all_commands.h"
#include "apps/talvo/commands/version_arguments.h"
#include "apps/talvo/file_identity.h"
#include "apps/talvo/payload.h"
#include "apps/talvo/signals.h"
#include "apps/talvo/terminal_text.h"

namespace talvo {

namespace {

class ExportCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"export", "Copy the content of a version to a path.", "talvo export shelf chair /tmp/chair.obj",
                "Nothing is written over: with --force what is at TARGET is replaced whole, a folder only by a folder."};
    }

    void DeclareArguments(ArgumentList& arguments) override {
        _arguments.DeclareAsset(arguments);
        arguments.AddRequired("TARGET", _target, "path that the copy gets");
        arguments.AddOption("--version", "V", _arguments.version, VERSION_HELP);
        arguments.AddFlag("--force", _force, "replace what is at TARGET");
    }

    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const OpenedVersion opened = TRY(OpenedVersion::OpenToRead(_arguments, options));
        const Url payload = TRY(Payload::GetUrl(opened.description));
        TRY(CheckTarget(payload));
        Signals::StopAtSafePoint();
        const Url target = Url::FromSystemPath(GetPlainTarget());
        const Int64 bytes =
            TRY(Payload::Export(payload, target, _force ? Payload::EXISTING::REPLACE : Payload::EXISTING::REFUSE));
        TRY(Report(opened.description->GetIdAndVersion(), target, bytes, output));
        return EXIT_CODE::DONE;
    }

private:
    std::string GetPlainTarget() const {
        std::string path = _target;
        while (path.size() > 1 && path.back() == '/') path.pop_back();
        return path;
    }

    // Replacing is for copies that were exported before, not for a repository, the folder one stands in, or what holds them.
    Result<void> CheckTarget(const Url& payload) const {
        const std::string target = GetPlainTarget();
        if (target.empty()) return IllegalArgumentError::Create("The path to export to is empty.");
        const Opt<FileIdentity> repository = FindFileIdentity(_arguments.repository);
        if (repository && LiesIn(target, *repository))
            return IllegalArgumentError::Create(
                FormatMessage("\"@\" lies in the repository: choose a path outside of it.", target));
        const Opt<FileIdentity> existing = FindFileIdentity(target);
        if (!_force || !existing) return OK;
        if (LiesIn(_arguments.repository, *existing) || LiesIn(".", *existing))
            return IllegalArgumentError::Create(
                FormatMessage("\"@\" holds the repository or the current folder and is not replaced.", target));
        if (Url::FromSystemPath(target).IoDetect() == IO_DETECT::DIRECTORY && payload.IoDetect() == IO_DETECT::FILE)
            return IllegalStateError::Create(
                FormatMessage("\"@\" is a folder and is not replaced by a file: name a file in it.", target));
        return OK;
    }

    static Result<void> Report(const IdAndVersion& identity, const Url& target, Int64 bytes, Output& output) {
        if (!output.IsJson()) {
            output.PrintNote(FormatMessage("@ exported to \"@\".", TerminalText::FormatBytes(bytes), target));
            return OK;
        }
        DocumentValue::ObjectType object;
        object.emplace_back("id", ToJsonText(identity.first));
        object.emplace_back("version", ToJsonText(identity.second));
        object.emplace_back("target", target.ToString().GetCString());
        object.emplace_back("bytes", bytes);
        return output.WriteJson(DocumentValue(std::move(object)));
    }

    VersionArguments _arguments;
    std::string _target;
    Bool _force = false;
};

}  // namespace

std::unique_ptr<Command> MakeExportCommand() { return std::make_unique<ExportCommand>(); }

}  // namespace talvo
