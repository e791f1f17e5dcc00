#include "apps/talvo/commands/all_commands.h"
#include "apps/talvo/commands/version_arguments.h"
#include "apps/talvo/terminal_text.h"

#include <map>

namespace talvo {

namespace {

struct Counts {
    Int assets = 0;    // those that are not deleted
    Int deleted = 0;   // ids whose newest version is a deletion marker
    Int versions = 0;  // with deletion markers
    Int64 bytes = 0;

    void Add(const Counts& other) {
        assets += other.assets;
        deleted += other.deleted;
        versions += other.versions;
        bytes += other.bytes;
    }
    void AppendJson(DocumentValue::ObjectType& object) const {
        object.emplace_back("assets", Int64(assets));
        object.emplace_back("deleted", Int64(deleted));
        object.emplace_back("versions", Int64(versions));
        object.emplace_back("bytes", bytes);
    }
};
using CountsByType = std::map<Id, Counts>;

Result<CountsByType> CountByType(const AssetRepositoryRef& repository) {
    CountsByType counts;
    const ASSET_FIND_MODE all = ASSET_FIND_MODE::WITHOUT_BASES | ASSET_FIND_MODE::WITH_DELETED;
    TRY(FindAssets(repository, {}, Id(), Id(), ASSET_FIND_MODE::ALL_VERSIONS | all,
                   [&](const AssetDescription& description) -> Result<Bool> {
                       Counts& ofType = counts[description->GetTypeId()];
                       ofType.versions++;
                       ofType.bytes += VersionRecord::ReadSize(description).value_or(0);
                       return true;
                   }));
    TRY(FindAssets(repository, {}, Id(), Id(), ASSET_FIND_MODE::LATEST | all,
                   [&](const AssetDescription& description) -> Result<Bool> {
                       Counts& ofType = counts[description->GetTypeId()];
                       (description->IsDeleted() ? ofType.deleted : ofType.assets)++;
                       return true;
                   }));
    return counts;
}

std::string GetIndexState(const AssetRepositoryRef& repository) {
    const auto* compactable = dynamic_cast<const CompactableAssetRepositoryInterface*>(repository.GetPointer());
    const Int32 state = compactable ? compactable->GetIndexState() : 0;
    return state == 3 ? "whole" : state == 0 ? "none" : "being written";
}

class StatCommand final : public Command {
public:
    CommandWords GetWords() const override { return {"stat", "Count what a repository holds.", "talvo stat shelf"}; }

    void DeclareArguments(ArgumentList& arguments) override { arguments.AddRequired("REPO", _path, REPO_HELP); }

    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const AssetRepositoryRef repository = TRY(RepositoryOpener::Open(_path, options));
        const CountsByType counts = TRY(CountByType(repository));
        Counts sum;
        for (const auto& [type, ofType] : counts) sum.Add(ofType);
        TRY(output.IsJson() ? WriteJson(repository, counts, sum, output) : WriteText(repository, counts, sum, output));
        return EXIT_CODE::DONE;
    }

private:
    Result<void> WriteJson(const AssetRepositoryRef& repository, const CountsByType& counts, const Counts& sum,
                           Output& output) const {
        DocumentValue::ObjectType object;
        object.emplace_back("repository", ToJsonText(repository->GetId()));
        const Opt<Url> url = RepositoryOpener::FindUrl(repository);
        if (url) object.emplace_back("path", url->ToString().GetCString());
        sum.AppendJson(object);
        object.emplace_back("index", GetIndexState(repository));
        DocumentValue::ArrayType types;
        for (const auto& [type, ofType] : counts) {
            DocumentValue::ObjectType member;
            member.emplace_back("type", ToJsonText(type));
            ofType.AppendJson(member);
            types.emplace_back(std::move(member));
        }
        object.emplace_back("types", DocumentValue(std::move(types)));
        return output.WriteJson(DocumentValue(std::move(object)));
    }

    Result<void> WriteText(const AssetRepositoryRef& repository, const CountsByType& counts, const Counts& sum,
                           Output& output) const {
        const Opt<Url> url = RepositoryOpener::FindUrl(repository);
        const std::string place = url ? FormatMessage(" in @", *url) : "";
        TRY(output.WriteLine(FormatMessage("Repository @@, index: @", repository->GetId(), place, GetIndexState(repository))));
        using ALIGN = TextTable::ALIGN;
        TextTable table(
            {{"TYPE"}, {"ASSETS", ALIGN::RIGHT}, {"DELETED", ALIGN::RIGHT}, {"VERSIONS", ALIGN::RIGHT}, {"SIZE", ALIGN::RIGHT}});
        const auto add = [&](const std::string& title, const Counts& row) {
            table.AddRow({title, std::to_string(row.assets), std::to_string(row.deleted), std::to_string(row.versions),
                          TerminalText::FormatBytes(row.bytes)});
        };
        for (const auto& [type, ofType] : counts) add(std::string(type.GetView()), ofType);
        add("all", sum);
        return output.WriteTable(table);
    }

    std::string _path;
};

}  // namespace

std::unique_ptr<Command> MakeStatCommand() { return std::make_unique<StatCommand>(); }

}  // namespace talvo
