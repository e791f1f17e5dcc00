#include "apps/talvo/asset_values.h"
#include "apps/talvo/commands/all_commands.h"
#include "apps/talvo/commands/version_arguments.h"
#include "apps/talvo/named_assets.h"
#include "keyword_asset.h"
#include "smartsearch_asset.h"

namespace talvo {

namespace {

class SmartSearchAddCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"smartsearch add", "Keep a filter under a name.",
                "talvo smartsearch add shelf \"Large images\" \"type:mediaimage resolution:>4000\""};
    }
    void DeclareArguments(ArgumentList& arguments) override {
        arguments.AddRequired("REPO", _path, REPO_HELP);
        arguments.AddRequired("NAME", _name, "what people call it");
        arguments.AddRequired("TEXT", _text, "the filter");
        arguments.AddOption("--id", "ID", _id, "id of the smart search (default: a fresh one)");
    }
    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const AssetRepositoryRef repository = TRY(RepositoryOpener::Open(_path, options));
        AssetValues values;
        values.name = String(_name);
        const SmartSearchAsset search = TRY(SmartSearchAssetInterface::Create());
        const AssetDescription stored =
            TRY(StoreNamedAsset(repository, _id, "smartsearch", Asset(StrongRef<AssetInterface>(search)), values));
        TRY(SmartSearchAssetInterface::SetFilterString(stored, String(_text)));
        TRY(RepositoryOpener::Sync(repository, RepositoryOpener::SYNC::IF_DURABLE));
        TRY(WriteStored(output, stored));
        return EXIT_CODE::DONE;
    }

private:
    std::string _path, _name, _text;
    Opt<std::string> _id;
};

class SmartSearchListCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"smartsearch list", "List the smart searches.", "talvo smartsearch list shelf"};
    }
    void DeclareArguments(ArgumentList& arguments) override { arguments.AddRequired("REPO", _path, REPO_HELP); }
    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const AssetRepositoryRef repository = TRY(RepositoryOpener::Open(_path, options));
        TextTable table({{"NAME"}, {"FILTER"}, {"ID"}});
        const Id types[] = {ASSETTYPE_SMARTSEARCH};
        TRY(FindAssets(repository, types, Id(), Id(), ASSET_FIND_MODE::LATEST,
                       [&](const AssetDescription& asset) -> Result<Bool> {
                           const String name = TRY(GetAssetName(asset));
                           const Opt<String> filter = TRY(asset->GetMetaData().Get<String>(ASSETMETADATA::SMARTSEARCH));
                           const Id& id = asset->GetIdAndVersion().first;
                           const String text = filter.value_or(String());
                           if (output.IsJson()) {
                               DocumentValue::ObjectType object;
                               object.emplace_back("id", ToJsonText(id));
                               object.emplace_back("name", name.GetCString());
                               object.emplace_back("filter", text.GetCString());
                               TRY(output.WriteJson(DocumentValue(std::move(object))));
                           }
                           table.AddRow({std::string(name.GetView()), std::string(text.GetView()), std::string(id.GetView())});
                           return true;
                       }));
        if (!output.IsJson()) TRY(output.WriteTable(table));
        return EXIT_CODE::DONE;
    }

private:
    std::string _path;
};

class DefaultCommand final : public Command {
public:
    enum class WORK { GET, SET, UNSET };
    explicit DefaultCommand(WORK work) : _work(work) {}

    CommandWords GetWords() const override {
        switch (_work) {
            case WORK::GET:
                return {"default get", "Show the default asset of a subtype.",
                        "talvo default get shelf net.talvo.subtype.preset.light"};
            case WORK::SET:
                return {"default set", "Make a preset the default of its subtype.", "talvo default set shelf warm-light"};
            case WORK::UNSET:
                return {"default unset", "Drop the default that a preset is.", "talvo default unset shelf warm-light"};
        }
        return {};
    }
    void DeclareArguments(ArgumentList& arguments) override {
        arguments.AddRequired("REPO", _path, REPO_HELP);
        arguments.AddRequired(_work == WORK::GET ? "SUBTYPE" : "ID", _id,
                              _work == WORK::GET ? "id of the subtype" : "id of the preset");
    }
    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const AssetRepositoryRef repository = TRY(RepositoryOpener::Open(_path, options));
        const Id id = TRY(Id::Create(_id));
        if (_work == WORK::GET) {
            const AssetDescription found = TRY(KeywordAssetInterface::GetDefaultAsset(id, repository));
            if (!found) return UnresolvedError::Create(FormatMessage("Subtype @ has no default asset in @.", _id, _path));
            TRY(WriteStored(output, found));
            return EXIT_CODE::DONE;
        }
        const AssetDescription asset = TRY(repository->FindLatestAsset(Id(), id, Id(), ASSET_FIND_MODE::LATEST));
        if (!asset) return UnresolvedError::Create(FormatMessage("There is no asset @ in @.", _id, _path));
        TRY(KeywordAssetInterface::SetDefaultAsset(asset, _work == WORK::SET));
        return EXIT_CODE::DONE;
    }

private:
    const WORK _work;
    std::string _path, _id;
};

}  // namespace

std::unique_ptr<Command> MakeSmartSearchAddCommand() { return std::make_unique<SmartSearchAddCommand>(); }
std::unique_ptr<Command> MakeSmartSearchListCommand() { return std::make_unique<SmartSearchListCommand>(); }
std::unique_ptr<Command> MakeDefaultGetCommand() { return std::make_unique<DefaultCommand>(DefaultCommand::WORK::GET); }
std::unique_ptr<Command> MakeDefaultSetCommand() { return std::make_unique<DefaultCommand>(DefaultCommand::WORK::SET); }
std::unique_ptr<Command> MakeDefaultUnsetCommand() { return std::make_unique<DefaultCommand>(DefaultCommand::WORK::UNSET); }

}  // namespace talvo
