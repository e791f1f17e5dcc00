#include "apps/talvo/commands/all_commands.h"
#include "apps/talvo/commands/version_arguments.h"
#include "apps/talvo/signals.h"
#include "apps/talvo/terminal_text.h"
#include "urlassetrepository.h"

#include <algorithm>
#include <charconv>
#include <thread>

namespace talvo {

namespace {

std::string GetProblemName(RepositoryFinding::PROBLEM problem) {
    using PROBLEM = RepositoryFinding::PROBLEM;
    switch (problem) {
        case PROBLEM::PAYLOAD_CHANGED: return "payload-changed";
        case PROBLEM::PAYLOAD_MISSING: return "payload-missing";
        case PROBLEM::PAYLOAD_DOUBLED: return "payload-doubled";
        case PROBLEM::PAYLOAD_UNREADABLE: return "payload-unreadable";
        case PROBLEM::DOCUMENT_DAMAGED: return "document-damaged";
        case PROBLEM::HASH_MISSING: return "hash-missing";
        case PROBLEM::TIMESTAMP_MISSING: return "timestamp-missing";
        case PROBLEM::ASSET_INFO_DAMAGED: return "asset-info-damaged";
        case PROBLEM::ID_DOUBLED: return "id-doubled";
        case PROBLEM::LEFTOVER: return "leftover";
    }
    return "unknown";
}

Result<void> WriteFinding(Output& output, const RepositoryFinding& finding) {
    const std::string path = finding.path.ToString().GetCString();
    const std::string problem = GetProblemName(finding.problem);
    if (!output.IsJson()) {
        TRY(output.WriteLine(FormatMessage("@: @: @", path, problem, finding.explanation)));
        return output.Flush();
    }
    DocumentValue::ObjectType object;
    if (finding.id.IsPopulated()) object.emplace_back("id", ToJsonText(finding.id));
    if (finding.version.IsPopulated()) object.emplace_back("version", ToJsonText(finding.version));
    object.emplace_back("problem", problem);
    object.emplace_back("path", path);
    TRY(output.WriteJson(DocumentValue(std::move(object))));
    return output.Flush();
}

Result<void> WriteSummary(Output& output, const RepositoryCheckSummary& summary) {
    if (!output.IsJson()) {
        return output.WriteLine(FormatMessage("@, @, @ checked: @.", TerminalText::FormatCount(summary.assets, "asset", "assets"),
                                              TerminalText::FormatCount(summary.versions, "version", "versions"),
                                              TerminalText::FormatBytes(summary.bytes),
                                              TerminalText::FormatCount(summary.problems, "problem", "problems")));
    }
    DocumentValue::ObjectType object;
    object.emplace_back("assets", Int64(summary.assets));
    object.emplace_back("versions", Int64(summary.versions));
    object.emplace_back("bytes", summary.bytes);
    object.emplace_back("problems", Int64(summary.problems));
    return output.WriteJson(DocumentValue(std::move(object)));
}

class VerifyCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"verify", "Check every content and document of a repository.", "talvo verify shelf",
                "Recomputes the hash of each content and reads each document. Changes nothing; exit code 1 if anything is off."};
    }

    void DeclareArguments(ArgumentList& arguments) override {
        arguments.AddRequired("REPO", _repository, REPO_HELP);
        arguments.AddOption("--jobs", "N", _jobs, "how many to check side by side (default: one for each core)");
    }

    Result<EXIT_CODE> Run(const CommonOptions&, Output& output) override {
        const Int threads = TRY(ParseJobs());
        const Url root = TRY(RepositoryOpener::GetUrl(_repository));
        Signals::StopAtSafePoint();
        const RepositoryCheckSummary summary = TRY(Verify(root, threads, output));
        TRY(WriteSummary(output, summary));
        if (Signals::IsInterrupted()) {
            output.PrintNote(FormatMessage("Interrupted: @ not checked.",
                                           TerminalText::FormatCount(summary.unchecked, "folder was", "folders were")));
            return EXIT_CODE::INTERRUPTED;
        }
        return summary.problems == 0 ? EXIT_CODE::DONE : EXIT_CODE::FAILED;
    }

private:
    static Result<RepositoryCheckSummary> Verify(const Url& root, Int threads, Output& output) {
        return RepositoryMaintenance::Verify(
            root, threads,
            [&](const RepositoryFinding& finding) -> Result<Bool> {
                TRY(WriteFinding(output, finding));
                return true;
            },
            [] { return !Signals::IsInterrupted(); });
    }
    Result<Int> ParseJobs() const {
        if (!_jobs) return Int(std::max(1u, std::thread::hardware_concurrency()));
        Int jobs = 0;
        const char* end = _jobs->data() + _jobs->size();
        const auto [last, problem] = std::from_chars(_jobs->data(), end, jobs);
        if (problem != std::errc() || last != end || jobs < 1 || jobs > 1024)
            return WrongUsageError::Create(FormatMessage("--jobs takes a number from 1 to 1024, not \"@\".", *_jobs));
        return jobs;
    }

    std::string _repository;
    Opt<std::string> _jobs;
};

}  // namespace

std::unique_ptr<Command> MakeVerifyCommand() { return std::make_unique<VerifyCommand>(); }

}  // namespace talvo
