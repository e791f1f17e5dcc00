#include "apps/talvo/commands/all_commands.h"
#include "apps/talvo/commands/version_arguments.h"
#include "apps/talvo/signals.h"
#include "apps/talvo/terminal_text.h"
#include "urlassetrepository.h"

namespace talvo {

namespace {

// Younger ones may belong to a store that is still running.
constexpr Int64 MINIMUM_AGE = Int64(3600) * 1000 * 1000;

class GcCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"gc", "Remove what interrupted work has left behind.", "talvo gc shelf --dry-run",
                "Only hidden leftovers of our own that are older than an hour; assets and foreign files are never touched."};
    }

    void DeclareArguments(ArgumentList& arguments) override {
        arguments.AddRequired("REPO", _repository, REPO_HELP);
        arguments.AddFlag("--dry-run", _dryRun, "only show what would be removed");
    }

    Result<EXIT_CODE> Run(const CommonOptions&, Output& output) override {
        const Url root = TRY(RepositoryOpener::GetUrl(_repository));
        Signals::StopAtSafePoint();
        Int count = 0;
        Int64 bytes = 0;
        const auto mode = _dryRun ? RepositoryMaintenance::GC_MODE::DRY_RUN : RepositoryMaintenance::GC_MODE::REMOVE;
        TRY(RepositoryMaintenance::CollectGarbage(root, mode, MINIMUM_AGE,
                                                  [&](const RepositoryMaintenance::Leftover& leftover) -> Result<Bool> {
                                                      count++;
                                                      bytes += leftover.bytes;
                                                      TRY(WriteLeftover(leftover, output));
                                                      TRY(output.Flush());  // it is gone: say so at once
                                                      return !Signals::IsInterrupted();
                                                  }));
        TRY(WriteSum(count, bytes, output));
        return EXIT_CODE::DONE;
    }

private:
    static Result<void> WriteLeftover(const RepositoryMaintenance::Leftover& leftover, Output& output) {
        const std::string path = leftover.path.ToString().GetCString();
        if (!output.IsJson()) return output.WriteLine(FormatMessage("@  @", TerminalText::FormatBytes(leftover.bytes), path));
        DocumentValue::ObjectType object;
        object.emplace_back("path", path);
        object.emplace_back("bytes", leftover.bytes);
        return output.WriteJson(DocumentValue(std::move(object)));
    }

    Result<void> WriteSum(Int count, Int64 bytes, Output& output) const {
        if (!output.IsJson()) {
            return output.WriteLine(FormatMessage("@, @ @.", TerminalText::FormatCount(count, "leftover", "leftovers"),
                                                  TerminalText::FormatBytes(bytes), _dryRun ? "would be removed" : "removed"));
        }
        DocumentValue::ObjectType object;
        object.emplace_back("leftovers", Int64(count));
        object.emplace_back("bytes", bytes);
        return output.WriteJson(DocumentValue(std::move(object)));
    }

    std::string _repository;
    Bool _dryRun = false;
};

}  // namespace

std::unique_ptr<Command> MakeGcCommand() { return std::make_unique<GcCommand>(); }

}  // namespace talvo
