#include "apps/talvo/commands/all_commands.h"
#include "apps/talvo/commands/version_arguments.h"
#include "apps/talvo/terminal_text.h"
#include "kernel/app/application.h"
#include "kernel/io/connection.h"
#include "urlassetrepository.h"

#include <sys/resource.h>
#include <sys/statvfs.h>
#include <sys/vfs.h>

#include <thread>

namespace talvo {

namespace {

constexpr LiteralId MODULE_ID{"net.talvo.asset"};

/// The kinds that behave in ways of their own, by the numbers that the system gives them (statfs(2)).
std::string GetFileSystemName(const std::string& path) {
    struct statfs status{};
    if (statfs(path.c_str(), &status) != 0) return "unknown";
    switch (UInt32(status.f_type)) {
        case 0xef53: return "ext";
        case 0x01021994: return "memory";
        case 0x58465342: return "xfs";
        case 0x9123683e: return "btrfs";
        case 0x2fc12fc1: return "zfs";
        case 0x6969: return "network (nfs)";
        case 0xff534d42:
        case 0xfe534d42: return "network (smb)";
        case 0x65735546: return "fuse";
        case 0x4d44: return "fat";
        case 0x794c7630: return "overlay";
        default: return FormatMessage("kind @", UInt(UInt32(status.f_type)));
    }
}

class DoctorCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"doctor", "Tell how things stand: versions, places, limits, and what is wrong with a repository.",
                "talvo doctor\ntalvo doctor shelf\ntalvo doctor shelf --fix",
                "Each thing that is wrong is told with what mends it. With --fix that is done: nothing is deleted, what can't be "
                "read is moved\n"
                "aside. Contents are checked by talvo verify."};
    }
    void DeclareArguments(ArgumentList& arguments) override {
        arguments.AddOptional("REPO", _path, REPO_HELP);
        arguments.AddFlag("--fix", _fixes, "mend what can be mended");
    }
    Result<EXIT_CODE> Run(const CommonOptions&, Output& output) override {
        if (_fixes && !_path) return WrongUsageError::Create("--fix needs a REPO.");
        TRY(TellProgram(output));
        if (!_path) return EXIT_CODE::DONE;
        const Url root = TRY(RepositoryOpener::GetUrl(*_path));
        TRY(TellPlace("repository", root, output));
        Int left = 0;
        const auto mode = _fixes ? RepositoryMaintenance::DIAGNOSE_MODE::MEND : RepositoryMaintenance::DIAGNOSE_MODE::LOOK;
        TRY(RepositoryMaintenance::Diagnose(root, mode, [&](const RepositoryMaintenance::Ailment& ailment) -> Result<Bool> {
            if (!ailment.isMended) ++left;
            TRY(TellAilment(ailment, output));
            return true;
        }));
        if (left == 0) output.PrintNote("Nothing is wrong.");
        return left == 0 ? EXIT_CODE::DONE : EXIT_CODE::FAILED;
    }

private:
    static Result<void> Tell(const std::string& what, const std::string& value, Output& output) {
        if (!output.IsJson()) return output.WriteLine(what + ": " + value);
        DocumentValue::ObjectType object;
        object.emplace_back("what", what);
        object.emplace_back("value", value);
        return output.WriteJson(DocumentValue(std::move(object)));
    }
    static Result<void> TellPlace(const std::string& what, const Url& place, Output& output) {
        const Result<std::string> path = place.GetSystemPath();
        std::string text(place.ToString().GetView());
        std::string there = path.IsOk() ? path.GetValue() : std::string();
        // Of a place that isn't made yet the folder tells in which it would be.
        while (there.size() > 1 && Url::FromSystemPath(there).IoDetect() == IO_DETECT::NOT_THERE)
            there.resize(std::max<std::size_t>(there.rfind('/'), 1));
        struct statvfs space{};
        if (!there.empty() && statvfs(there.c_str(), &space) == 0) {
            text += FormatMessage(" (@, @ free)", GetFileSystemName(there),
                                  TerminalText::FormatBytes(Int64(space.f_bavail) * Int64(space.f_frsize)));
        }
        return Tell(what, text, output);
    }
    static Result<void> TellProgram(Output& output) {
        const Application::Version version = TRY(Application::GetVersion());
        TRY(Tell("program", FormatMessage("@, build @", Application::GetVersionText(), version.build), output));
        const std::pair<const char*, APPLICATION_DIRECTORY> places[] = {{"preferences", APPLICATION_DIRECTORY::PREFERENCES},
                                                                        {"generated files", APPLICATION_DIRECTORY::GENERATED},
                                                                        {"temporary files", APPLICATION_DIRECTORY::TEMPORARY},
                                                                        {"resources", APPLICATION_DIRECTORY::MODULE_RESOURCES}};
        for (const auto& [name, kind] : places) {
            const Url place = TRY(Application::PrivateGetUrl(MODULE_ID, kind));
            TRY(TellPlace(name, place, output));
        }
        struct rlimit files{};
        if (getrlimit(RLIMIT_NOFILE, &files) == 0) TRY(Tell("open files at most", std::to_string(files.rlim_cur), output));
        return Tell("cores", std::to_string(std::thread::hardware_concurrency()), output);
    }
    static Result<void> TellAilment(const RepositoryMaintenance::Ailment& ailment, Output& output) {
        if (!output.IsJson()) {
            return output.WriteLine(FormatMessage("@ @", ailment.isMended ? "mended:" : "wrong:", ailment.explanation));
        }
        DocumentValue::ObjectType object;
        object.emplace_back("problem", ailment.explanation.GetCString());
        object.emplace_back("path", ailment.path.ToString().GetCString());
        object.emplace_back("mended", DocumentValue(ailment.isMended));
        return output.WriteJson(DocumentValue(std::move(object)));
    }

    Opt<std::string> _path;
    Bool _fixes = false;
};

}  // namespace

std::unique_ptr<Command> MakeDoctorCommand() { return std::make_unique<DoctorCommand>(); }

}  // namespace talvo
