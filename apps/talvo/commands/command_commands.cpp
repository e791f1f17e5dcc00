// The program's own commands as assets of the built-in repository: found and run like those of any host.
#include "apps/talvo/command_line.h"
#include "apps/talvo/commands/all_commands.h"
#include "apps/talvo/commands/version_arguments.h"
#include "asset_module.h"
#include "builtin_asset_loaders.h"
#include "category_asset.h"
#include "command_asset.h"
#include "subtype_asset.h"

#include <algorithm>

namespace talvo {

namespace {

constexpr const char* ID_PREFIX = "talvo.command.";

/// What the command that is run gets, and where it writes.
struct RunContext {
    std::vector<std::string> words;
    Output* output = nullptr;
    EXIT_CODE code = EXIT_CODE::DONE;
};

RunContext& GetContext() {
    static RunContext context;
    return context;
}

Result<void> RunWords(const std::string& name) {
    RunContext& context = GetContext();
    std::vector<std::string> words = {"talvo"};
    for (const String& word : String(name).Split(String(" "), String::SPLIT::DROP_EMPTY)) words.push_back(word.GetCString());
    words.insert(words.end(), context.words.begin(), context.words.end());
    std::vector<char*> pointers;
    for (std::string& word : words) pointers.push_back(word.data());
    CommandLine line(MakeAllCommands());
    const CommandLine::ACTION action = TRY(line.Parse(int(pointers.size()), pointers.data()));
    if (action == CommandLine::ACTION::SHOW_HELP) return context.output->WriteBytes(line.GetHelp());
    if (!line.FindCommand()) return WrongUsageError::Create(line.GetUsage());
    context.code = TRY(line.FindCommand()->Run(line.GetOptions(), *context.output));
    return OK;
}

Result<DataDictionary> MakeMetaData(const CommandWords& words) {
    const std::string name = words.name;
    DataDictionary values;
    values.Set(ASSETMETADATA::CATEGORY, Id(NODE_CATEGORY_UNCATEGORIZED));
    values.Set(ASSETMETADATA::SUBTYPE, Id(COMMANDTYPE::COMMAND));
    values.Set(COMMANDMETADATA::SCOPES, BaseArray<Id>{Id("net.talvo.asset.command.scope.assetbrowser"_id)});
    values.Set(COMMANDMETADATA::HELP, String(words.summary));
    values.Set(COMMANDMETADATA::EXECUTE, CommandExecuteDelegate([name](Bool) { return RunWords(name); }));
    values.Set(COMMANDMETADATA::QUERYSTATE,
               CommandQueryDelegate([]() -> Result<COMMAND_STATE> { return COMMAND_STATE::ENABLED; }));
    const InternedId key = TRY(AssetInterface::GetLanguageMetaDataId("en"_id));
    DataDescriptionDefinition names;
    names.SetCategory("string"_id);
    TRY(names.AddEntry(DESCRIPTION::MakeStringEntry(OBJECT_BASE_NAME, String(name))));
    values.Set(key.GetId(), std::move(names));
    return values;
}

std::string MakeCommandId(const char* name) {
    std::string id = ID_PREFIX + std::string(name);
    std::replace(id.begin(), id.end(), ' ', '.');
    return id;
}

Result<Bool> LoadCommands(Block<const Id> types, const Id&, const Id&, ASSET_FIND_MODE, BuiltinAssetReceiver receiver) {
    const Bool everyType = types.empty() || types.front().IsEmpty();
    if (!everyType && std::find(types.begin(), types.end(), ASSETTYPE_COMMAND) == types.end()) return true;
    for (const auto& command : MakeAllCommands()) {
        const CommandWords words = command->GetWords();
        const CommandAsset asset = TRY(CommandAssetInterface::Create());
        const DataDictionary metaData = TRY(MakeMetaData(words));
        const Id id = TRY(Id::Create(MakeCommandId(words.name)));
        const Bool goOn = TRY(receiver(id, Asset(StrongRef<AssetInterface>(asset)), metaData, Url()));
        if (!goOn) return false;
    }
    return true;
}

/// The built-in repository with these commands in it.
Result<AssetRepositoryRef> OpenBuiltin() {
    TRY(GetBuiltinAssetLoaders2().Register("talvo.program.commands"_id, BuiltinAssetLoader(LoadCommands)));
    TRY(AssetModule::Start());
    return AssetInterface::GetBuiltinRepository();
}

class CommandListCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"command list", "List the commands that are assets, with their state.", "talvo command list"};
    }
    void DeclareArguments(ArgumentList&) override {}
    Result<EXIT_CODE> Run(const CommonOptions&, Output& output) override {
        const AssetRepositoryRef builtin = TRY(OpenBuiltin());
        TextTable table({{"NAME"}, {"STATE"}, {"HELP"}, {"ID"}});
        const Id types[] = {ASSETTYPE_COMMAND};
        TRY(FindAssets(builtin, types, Id(), Id(), ASSET_FIND_MODE::LATEST, [&](const AssetDescription& asset) -> Result<Bool> {
            const String name = TRY(asset->GetMetaString(InternedId(OBJECT_BASE_NAME), nullptr, String()));
            const COMMAND_STATE state = TRY(CommandAssetInterface::QueryState(asset));
            const Opt<String> help = TRY(asset->GetMetaData().Get<String>(COMMANDMETADATA::HELP));
            const Bool isEnabled = HasFlag(state, COMMAND_STATE::ENABLED);
            const Id& id = asset->GetIdAndVersion().first;
            if (output.IsJson()) {
                DocumentValue::ObjectType object;
                object.emplace_back("id", ToJsonText(id));
                object.emplace_back("name", name.GetCString());
                object.emplace_back("enabled", DocumentValue(isEnabled));
                object.emplace_back("help", help.value_or(String()).GetCString());
                TRY(output.WriteJson(DocumentValue(std::move(object))));
            }
            table.AddRow({std::string(name.GetView()), isEnabled ? "enabled" : "disabled",
                          std::string(help.value_or(String()).GetView()), std::string(id.GetView())});
            return true;
        }));
        if (!output.IsJson()) TRY(output.WriteTable(table));
        return EXIT_CODE::DONE;
    }
};

class CommandRunCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"command run", "Run a command that is an asset, by its id or name.",
                "talvo command run talvo.command.repos\ntalvo command run list shelf"};
    }
    void DeclareArguments(ArgumentList& arguments) override {
        arguments.AddList("COMMAND [WORDS]", _words, "the command, then what it gets");
    }
    Result<EXIT_CODE> Run(const CommonOptions&, Output& output) override {
        const AssetRepositoryRef builtin = TRY(OpenBuiltin());
        const std::string wanted = _words.front().starts_with(ID_PREFIX) ? _words.front() : MakeCommandId(_words.front().c_str());
        const Id id = TRY(Id::Create(wanted));
        const AssetDescription command = TRY(builtin->FindLatestAsset(ASSETTYPE_COMMAND, id, Id(), ASSET_FIND_MODE::LATEST));
        if (!command)
            return UnresolvedError::Create(FormatMessage("There is no command @. See talvo command list.", _words.front()));
        RunContext& context = GetContext();
        context.words.assign(_words.begin() + 1, _words.end());
        context.output = &output;
        TRY(CommandAssetInterface::Execute(command, false));
        return context.code;
    }

private:
    std::vector<std::string> _words;
};

}  // namespace

std::unique_ptr<Command> MakeCommandListCommand() { return std::make_unique<CommandListCommand>(); }
std::unique_ptr<Command> MakeCommandRunCommand() { return std::make_unique<CommandRunCommand>(); }

}  // namespace talvo
