#include "apps/talvo/commands/all_commands.h"
#include "apps/talvo/commands/version_arguments.h"

#include <algorithm>

namespace talvo {

namespace {

class ListCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"list", "List the assets that a repository and its bases hold.",
                "talvo list shelf\ntalvo list shelf --all-versions --deleted --json"};
    }

    void DeclareArguments(ArgumentList& arguments) override {
        arguments.AddRequired("REPO", _repository, REPO_HELP);
        arguments.AddOption("--type", "T", _type, "only assets of this type: its id, or \"file\"");
        arguments.AddOption("--prefix", "P", _prefix, "only assets whose id begins with P");
        arguments.AddFlag("--all-versions", _allVersions, "every version, newest first (default: the newest one)");
        arguments.AddFlag("--deleted", _deleted, "deleted assets and deletion markers, too");
    }

    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const AssetRepositoryRef repository = TRY(RepositoryOpener::Open(_repository, options));
        BaseArray<AssetDescription> found = TRY(Find(repository));
        const auto isBefore = [](const AssetDescription& a, const AssetDescription& b) {
            const auto order = a->GetIdAndVersion().first <=> b->GetIdAndVersion().first;
            return order != 0 ? order < 0 : VersionSelector::IsNewer(a, b);
        };
        std::sort(found.begin(), found.end(), isBefore);

        TextTable table = VersionRecord::MakeTable();
        for (const AssetDescription& description : found) {
            const VersionRecord record = VersionRecord::Read(description);
            if (output.IsJson())
                TRY(output.WriteJson(DocumentValue(record.ToJson())));
            else
                table.AddRow(record.ToRow());
        }
        if (!output.IsJson()) TRY(output.WriteTable(table));
        return EXIT_CODE::DONE;
    }

private:
    Result<BaseArray<AssetDescription>> Find(const AssetRepositoryRef& repository) const {
        std::vector<Id> types;
        if (_type) {
            const Id type = TRY(Id::Create(*_type == "file" ? std::string(ASSETTYPE_FILE.GetView()) : *_type));
            types.push_back(type);
        }
        const Id prefix = TRY(Id::Create(_prefix.value_or("")));
        ASSET_FIND_MODE mode = _allVersions ? ASSET_FIND_MODE::ALL_VERSIONS : ASSET_FIND_MODE::LATEST;
        if (_deleted) mode = mode | ASSET_FIND_MODE::WITH_DELETED;
        if (prefix.IsPopulated()) mode = mode | ASSET_FIND_MODE::ID_PREFIX;
        BaseArray<AssetDescription> found;
        TRY(FindAssets(repository, types, prefix, Id(), mode, [&](const AssetDescription& description) -> Result<Bool> {
            TRY(found.Append(description));
            return true;
        }));
        return found;
    }

    std::string _repository;
    Opt<std::string> _type;
    Opt<std::string> _prefix;
    Bool _allVersions = false;
    Bool _deleted = false;
};

}  // namespace

std::unique_ptr<Command> MakeListCommand() { return std::make_unique<ListCommand>(); }

}  // namespace talvo
