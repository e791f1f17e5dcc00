#include "apps/talvo/commands/all_commands.h"
#include "apps/talvo/commands/version_arguments.h"
#include "apps/talvo/import_plan.h"
#include "apps/talvo/importer.h"
#include "apps/talvo/signals.h"
#include "apps/talvo/terminal_text.h"

#include <algorithm>
#include <thread>

namespace talvo {

namespace {

// What was done so far.
struct ImportSums {
    Int stored = 0;
    Int updated = 0;  // of these
    Int unchanged = 0;
    Int failed = 0;
    Int64 bytes = 0;
};

class ImportCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"import", "Store files as assets, new ones and new versions.",
                "talvo import shelf ~/models chair.obj\ntalvo import shelf --as-one --name \"Oak chair\" ~/models/chair",
                "A folder is walked: each file below it becomes an asset, hidden entries and links to folders are passed over. "
                "With --as-one it\n"
                "becomes one asset, whose content is the folder. Folders become categories. A file whose name and category are "
                "known\n"
                "already is left alone if its content is that of the newest version, else it becomes the next one. A file that "
                "can't be\n"
                "read doesn't stop the others."};
    }

    void DeclareArguments(ArgumentList& arguments) override {
        arguments.AddRequired("REPO", _repository, REPO_HELP);
        arguments.AddList("PATH", _paths, "file or folder");
        arguments.AddOption("--id", "ID", _id, "id of the asset, if it is just one (default: a fresh one)");
        arguments.AddOption("--name", "TEXT", _name, "name of the asset, if it is just one (default: the file's name)");
        arguments.AddFlag("--as-one", _asOne, "store each folder as one asset");
        arguments.AddFlag("--new", _isNew, "store each file as a new asset, be it known or not");
    }

    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const AssetRepositoryRef repository = TRY(RepositoryOpener::Open(_repository, options));
        const Url root = TRY(RepositoryOpener::GetUrl(_repository));
        Signals::StopAtSafePoint();
        ImportWalk walk(root, _asOne ? ImportWalk::FOLDERS::AS_ONE : ImportWalk::FOLDERS::WALK, output);
        for (const std::string& path : _paths) walk.Add(path);
        const Int count = Int(walk.GetItems().size());
        if (count > 1 && (_id || _name)) {
            return WrongUsageError::Create(
                FormatMessage("@ is for one asset, but there are @ files. With --as-one a folder becomes one asset.",
                              _id ? "--id" : "--name", count));
        }
        const ImportSums sums = TRY(Store(repository, walk, output));
        TRY(RepositoryOpener::Sync(repository, RepositoryOpener::SYNC::ALWAYS));
        return Report(sums, walk, output);
    }

private:
    Result<ImportSums> Store(const AssetRepositoryRef& repository, const ImportWalk& walk, Output& output) const {
        Importer::Options options;
        if (_id) options.id = TRY(Id::Create(*_id));
        if (_name) options.name = String(*_name);
        options.threads = std::max(1u, std::thread::hardware_concurrency());
        const auto known = _isNew || _id || _name ? ImportPlan::KNOWN::FORCE_NEW : ImportPlan::KNOWN::LOOK_UP;
        const std::unique_ptr<ImportPlan> plan = TRY(ImportPlan::Create(repository, walk.GetItems(), known));
        ImportSums sums;
        Result<void> written;
        Progress& progress = output.StartProgress("Importing", Int(walk.GetItems().size()));
        // Whether or not somebody still reads what was stored, the rest is stored, too.
        const auto note = [&](const Result<void>& line) {
            if (line.IsError() && written.IsOk() && !ClosedOutputError::IsClassOf(line.GetError())) written = line;
        };
        const auto receive = [&](const ImportItem& item, const Result<Importer::Outcome>& outcome) {
            if (outcome.IsError()) {
                sums.failed++;
                output.PrintError(outcome.GetError());
            } else {
                const Importer::Outcome& done = outcome.GetValue();
                (done.state == IMPORT_STATE::UNCHANGED ? sums.unchanged : sums.stored)++;
                if (done.state == IMPORT_STATE::UPDATED) sums.updated++;
                note(WriteItem(output, item, VersionRecord::Read(done.description), done.state, sums));
            }
            progress.Show(sums.stored + sums.unchanged + sums.failed, sums.bytes);
        };
        Importer(repository, walk.GetItems(), *plan, options).Run(receive, [&] {
            note(output.Flush());  // who reads along knows at once
            progress.Show(sums.stored + sums.unchanged + sums.failed, sums.bytes);
        });
        output.EndProgress();
        TRY(written);
        return sums;
    }

    static Result<void> WriteItem(Output& output, const ImportItem& item, const VersionRecord& record, IMPORT_STATE state,
                                  ImportSums& sums) {
        const char* word = state == IMPORT_STATE::NEW ? "new" : state == IMPORT_STATE::UPDATED ? "updated" : "unchanged";
        if (state != IMPORT_STATE::UNCHANGED) sums.bytes += record.bytes.value_or(0);
        if (output.IsJson()) {
            DocumentValue::ObjectType object = record.ToJson();
            object.emplace_back("source", MakeUtf8(item.source));
            object.emplace_back("state", word);
            return output.WriteJson(DocumentValue(std::move(object)));
        }
        if (state == IMPORT_STATE::NEW)
            return output.WriteLine(FormatMessage("@  #@  @", record.id, record.key.counter, item.source));
        return output.WriteLine(FormatMessage("@  #@  @  (@)", record.id, record.key.counter, item.source, word));
    }

    static Result<EXIT_CODE> Report(const ImportSums& sums, const ImportWalk& walk, Output& output) {
        const Int total = Int(walk.GetItems().size());
        const Int failed = sums.failed + walk.GetFailureCount();
        std::string text =
            TerminalText::FormatCount(sums.stored, "asset", "assets") + " stored, " + TerminalText::FormatBytes(sums.bytes);
        if (sums.updated > 0) text += FormatMessage(" (@ of them new versions)", sums.updated);
        if (sums.unchanged > 0) text += FormatMessage(", @ unchanged", sums.unchanged);
        if (walk.GetPassedOverCount() > 0) {
            text += ", " + TerminalText::FormatCount(walk.GetPassedOverCount(), "entry", "entries") +
                    " passed over (hidden, links to folders, no files)";
        }
        if (Signals::IsInterrupted()) {
            output.PrintNote(FormatMessage("Interrupted: @ of @; what was reported stays stored.", text, total));
            return EXIT_CODE::INTERRUPTED;
        }
        output.PrintNote(text + ".");
        if (failed == 0) return EXIT_CODE::DONE;
        return IoError::Create(FormatMessage("@ of @ could not be imported.", failed,
                                             TerminalText::FormatCount(total + walk.GetFailureCount(), "entry", "entries")));
    }

    std::string _repository;
    std::vector<std::string> _paths;
    Opt<std::string> _id;
    Opt<std::string> _name;
    Bool _asOne = false;
    Bool _isNew = false;
};

}  // namespace

std::unique_ptr<Command> MakeImportCommand() { return std::make_unique<ImportCommand>(); }

}  // namespace talvo
