#include "apps/talvo/commands/all_commands.h"
#include "apps/talvo/commands/version_arguments.h"
#include "apps/talvo/signals.h"
#include "apps/talvo/terminal_text.h"
#include "kernel/thread/job.h"
#include "urlassetrepository.h"

#include <chrono>
#include <thread>

namespace talvo {

namespace {

constexpr std::chrono::milliseconds PAUSE(20);

Result<CompactableAssetRepositoryInterface*> GetCompactable(const AssetRepositoryRef& repository) {
    auto* compactable = dynamic_cast<CompactableAssetRepositoryInterface*>(repository.GetPointer());
    if (compactable) return compactable;
    return UnsupportedOperationError::Create(
        FormatMessage("Repository @ has no directory, and so no index.", repository->GetId()));
}

class CompactCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"compact", "Write the index of a repository.", "talvo compact shelf",
                "With an index a repository opens at once, however many assets it holds. Whatever changes the repository keeps "
                "the index of\n"
                "use; now and then it should be written anew."};
    }
    void DeclareArguments(ArgumentList& arguments) override {
        arguments.AddRequired("REPO", _path, REPO_HELP);
        arguments.AddFlag("--background", _inBackground, "in the way of a program that goes on with other work meanwhile");
    }
    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const AssetRepositoryRef repository = TRY(RepositoryOpener::Open(_path, options));
        CompactableAssetRepositoryInterface* compactable = TRY(GetCompactable(repository));
        Signals::StopAtSafePoint();
        const Result<void> written = _inBackground ? WriteInBackground(*compactable) : Write(*compactable);
        if (written.IsError() && OperationCancelledError::IsClassOf(written.GetError())) {
            output.PrintNote("Interrupted: there is no index now, and nothing else is lost.");
            return EXIT_CODE::INTERRUPTED;
        }
        if (written.IsError()) return written.GetError();
        DocumentValue::ObjectType object;
        object.emplace_back("repository", ToJsonText(repository->GetId()));
        object.emplace_back("index", DocumentValue(Int64(compactable->GetIndexState())));
        if (output.IsJson())
            TRY(output.WriteJson(DocumentValue(std::move(object))));
        else
            output.PrintNote("The index is written.");
        return EXIT_CODE::DONE;
    }

private:
    /// In a job, since that can be cancelled.
    static Result<void> Write(CompactableAssetRepositoryInterface& compactable) {
        const JobRef job = TRY(JobQueue::GetDefaultQueue().Enqueue([&]() -> Result<void> { return compactable.Compact(); }));
        while (job->GetState() == JOB_STATE::ENQUEUED || job->GetState() == JOB_STATE::RUNNING ||
               job->GetState() == JOB_STATE::CREATED) {
            if (Signals::IsInterrupted()) job->Cancel();
            std::this_thread::sleep_for(PAUSE);
        }
        TRY(job->Wait());
        return job->GetResult();
    }
    static Result<void> WriteInBackground(CompactableAssetRepositoryInterface& compactable) {
        TRY(compactable.CompactInBackground(0, nullptr));
        for (;;) {
            std::this_thread::sleep_for(PAUSE);
            const Int32 state = compactable.GetIndexState();
            if (state == 3) return OK;
            if (state == 0)
                return IllegalStateError::Create("The index could not be written. Call it without --background to see why.");
            if (Signals::IsInterrupted()) {
                TRY(compactable.DeleteIndexFiles());
                return OperationCancelledError::Create();
            }
        }
    }

    std::string _path;
    Bool _inBackground = false;
};

class IndexCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"index", "Show what the index of a repository tells, and what only the tree holds.", "talvo index shelf"};
    }
    void DeclareArguments(ArgumentList& arguments) override { arguments.AddRequired("REPO", _path, REPO_HELP); }
    Result<EXIT_CODE> Run(const CommonOptions&, Output& output) override {
        const Url root = TRY(RepositoryOpener::GetUrl(_path));
        using ALIGN = TextTable::ALIGN;
        TextTable table(
            {{"VERSIONS", ALIGN::LEFT}, {"ASSETS", ALIGN::RIGHT}, {"VERSIONS", ALIGN::RIGHT}, {"SIZE", ALIGN::RIGHT}});
        const RepositoryMaintenance::IndexSummary summary =
            TRY(RepositoryMaintenance::ReadIndex(root, [&](const RepositoryMaintenance::IndexRangeInfo& range) -> Result<Bool> {
                table.AddRow({FormatMessage("@ to @", range.first, range.last), std::to_string(range.assets),
                              std::to_string(range.versions), TerminalText::FormatBytes(range.bytes)});
                if (!output.IsJson()) return true;
                DocumentValue::ObjectType object;
                object.emplace_back("first", DocumentValue(UInt64(range.first)));
                object.emplace_back("last", DocumentValue(UInt64(range.last)));
                object.emplace_back("assets", DocumentValue(range.assets));
                object.emplace_back("versions", DocumentValue(range.versions));
                object.emplace_back("bytes", DocumentValue(Int64(range.bytes)));
                TRY(output.WriteJson(DocumentValue(std::move(object))));
                return true;
            }));
        const char* state = summary.state == RepositoryMaintenance::IndexSummary::STATE::VISIBLE   ? "whole"
                            : summary.state == RepositoryMaintenance::IndexSummary::STATE::DROPPED ? "changed"
                                                                                                   : "none";
        if (output.IsJson()) {
            DocumentValue::ObjectType object;
            object.emplace_back("state", state);
            object.emplace_back("changed", DocumentValue(summary.changedAssets));
            object.emplace_back("scansTree", DocumentValue(summary.scansTree));
            TRY(output.WriteJson(DocumentValue(std::move(object))));
            return EXIT_CODE::DONE;
        }
        TRY(output.WriteTable(table));
        if (summary.scansTree) {
            TRY(output.WriteLine("The tree is read at each opening. talvo compact writes an index."));
        } else if (summary.changedAssets != 0) {
            TRY(output.WriteLine(
                FormatMessage("@ read from the tree, since changes followed. talvo compact writes the index anew.",
                              TerminalText::FormatCount(summary.changedAssets, "asset is", "assets are"))));
        } else {
            TRY(output.WriteLine("Nothing else is read at an opening."));
        }
        return EXIT_CODE::DONE;
    }

private:
    std::string _path;
};

}  // namespace

std::unique_ptr<Command> MakeCompactCommand() { return std::make_unique<CompactCommand>(); }
std::unique_ptr<Command> MakeIndexCommand() { return std::make_unique<IndexCommand>(); }

}  // namespace talvo
