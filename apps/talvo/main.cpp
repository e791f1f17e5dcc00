// The program `talvo`: makes of its words a command, runs it, and tells how it went.
#include "apps/talvo/command_line.h"
#include "apps/talvo/output.h"
#include "apps/talvo/signals.h"
#include "kernel/app/application.h"
#include "kernel/app/log.h"
#include "kernel/app/run_loop.h"
#include "kernel/base/allocation_plan.h"
#include "kernel/io/url.h"

#include <cstdio>
#include <exception>
#include <new>

namespace talvo {

namespace {

EXIT_CODE TellError(const ErrorRef& error, const CommandLine& line, Output& output) {
    if (ClosedOutputError::IsClassOf(error)) return EXIT_CODE::DONE;
    output.PrintError(error);
    if (!WrongUsageError::IsClassOf(error)) return EXIT_CODE::FAILED;
    output.PrintText(line.GetUsage());
    return EXIT_CODE::WRONG_USAGE;
}

Result<EXIT_CODE> RunCommand(CommandLine& line, Output& output) {
    const CommonOptions& options = line.GetOptions();
    if (options.home) {
        if (options.home->empty()) return WrongUsageError::Create("--home takes a folder.");
        Application::SetHome(Url::FromSystemPath(*options.home));
    }
    SetLogSink([&output](LOG_LEVEL level, const std::string& text) {
        if (level >= LOG_LEVEL::WARNING) output.QueueWarning(text);
    });
    const EXIT_CODE code = TRY(line.FindCommand()->Run(options, output));
    TRY(output.Flush());
    return Signals::IsInterrupted() ? EXIT_CODE::INTERRUPTED : code;
}

Result<EXIT_CODE> Run(CommandLine& line, Output& output, int count, char** words) {
    const CommandLine::ACTION action = TRY(line.Parse(count, words));
    if (action == CommandLine::ACTION::RUN) return RunCommand(line, output);
    const Application::Version version = TRY(Application::GetVersion());
    const std::string text = FormatMessage("talvo @ (@)\n", Application::GetVersionText(), version.build);
    TRY(output.WriteBytes(action == CommandLine::ACTION::SHOW_HELP ? line.GetHelp() : text));
    TRY(output.Flush());
    return EXIT_CODE::DONE;
}

int Main(int count, char** words) {
    Signals::Install();
    AllocationPlan::SetFromEnvironment();
    CommandLine line(MakeAllCommands());
    Output output(line.GetOptions());
    Result<EXIT_CODE> outcome = CatchOutOfMemory([&] { return Run(line, output, count, words); });
    output.EndProgress();
    const EXIT_CODE code = outcome.IsOk() ? outcome.GetValue() : TellError(outcome.GetError(), line, output);
    RunLoop::Exit();
    SetLogSink(nullptr);
    // What the end of the run loop had to say.
    output.Flush().Ignore("nothing but warnings is left");
    return int(code);
}

}  // namespace

}  // namespace talvo

int main(int count, char** words) {
    try {
        return talvo::Main(count, words);
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "talvo: error: Out of memory. Close other work or give the process more memory, then try again.\n");
        return int(talvo::EXIT_CODE::FAILED);
    } catch (const std::exception& error) {
        // Nothing of ours throws; what others throw is told and not hidden behind a crash.
        std::fprintf(stderr, "talvo: error: %s\n", error.what());
        return int(talvo::EXIT_CODE::FAILED);
    }
}
