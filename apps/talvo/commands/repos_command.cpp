#include "apps/talvo/commands/all_commands.h"
#include "apps/talvo/commands/version_arguments.h"
#include "apps/talvo/terminal_text.h"

namespace talvo {

namespace {

/// One repository of the graph, as both forms of the output tell it.
struct RepositoryRecord {
    std::string id;
    std::string name;
    std::string type;  // of one that lies in a folder
    std::string path;  // the same
    Bool isWritable = false;
    std::vector<std::string> bases;
    Int assets = 0;
    Int depth = 0;

    static Result<RepositoryRecord> Read(const AssetRepositoryRef& repository, Int depth) {
        RepositoryRecord record;
        record.id = ToJsonText(repository->GetId());
        const String name = TRY(repository->GetRepositoryName(nullptr, false));
        record.name = name.GetCString();
        if (const Opt<Url> url = RepositoryOpener::FindUrl(repository)) {
            record.type = REPOSITORYTYPE_DATABASE.GetView();
            record.path = url->ToString().GetCString();
        }
        record.isWritable = repository->IsWritable();
        for (const AssetRepositoryRef& base : repository->GetBases()) record.bases.push_back(ToJsonText(base->GetId()));
        TRY(FindAssets(repository, {}, Id(), Id(), ASSET_FIND_MODE::LATEST | ASSET_FIND_MODE::WITHOUT_BASES,
                       [&](const AssetDescription&) -> Result<Bool> {
                           ++record.assets;
                           return true;
                       }));
        record.depth = depth;
        return record;
    }

    DocumentValue ToJson() const {
        DocumentValue::ObjectType object;
        object.emplace_back("repository", id);
        object.emplace_back("name", name);
        if (!type.empty()) object.emplace_back("type", type);
        if (!path.empty()) object.emplace_back("path", path);
        object.emplace_back("writable", isWritable);
        DocumentValue::ArrayType list;
        for (const std::string& base : bases) list.emplace_back(base);
        object.emplace_back("bases", DocumentValue(std::move(list)));
        object.emplace_back("assets", Int64(assets));
        return DocumentValue(std::move(object));
    }

    std::vector<std::string> ToRow() const {
        return {std::string(std::size_t(depth) * 2, ' ') + name, id, isWritable ? "yes" : "no", std::to_string(assets), path};
    }
};

class ReposCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {
            "repos", "Show the repositories that lookups walk through.", "talvo repos\ntalvo repos --base shelf --json",
            "From the user's own repository down, each below the one that looks into it first. A repository of --base stands\n"
            "behind the user's own."};
    }

    void DeclareArguments(ArgumentList&) override {}

    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const AssetRepositoryRef top = TRY(RepositoryOpener::Open("user", options));
        VisitedRepositories visited;
        std::vector<RepositoryRecord> records;
        TRY(Walk(top, 0, visited, records));
        using ALIGN = TextTable::ALIGN;
        TextTable table({{"NAME"}, {"REPOSITORY"}, {"WRITABLE"}, {"ASSETS", ALIGN::RIGHT}, {"PATH"}});
        for (const RepositoryRecord& record : records) {
            if (output.IsJson())
                TRY(output.WriteJson(record.ToJson()));
            else
                table.AddRow(record.ToRow());
        }
        if (!output.IsJson()) TRY(output.WriteTable(table));
        return EXIT_CODE::DONE;
    }

private:
    static Result<void> Walk(const AssetRepositoryRef& repository, Int depth, VisitedRepositories& visited,
                             std::vector<RepositoryRecord>& records) {
        const Bool isNew = TRY(visited.Insert(repository.GetPointer()));
        if (!isNew) return OK;
        RepositoryRecord record = TRY(RepositoryRecord::Read(repository, depth));
        records.push_back(std::move(record));
        for (const AssetRepositoryRef& base : repository->GetBases()) TRY(Walk(base, depth + 1, visited, records));
        return OK;
    }
};

}  // namespace

std::unique_ptr<Command> MakeReposCommand() { return std::make_unique<ReposCommand>(); }

}  // namespace talvo
