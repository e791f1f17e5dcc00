// Commands as assets: what runs, what is said when nothing can, scopes and types.
#include "command_asset.h"

#include "kernel/text/language.h"
#include "memoryassetrepository.h"
#include "subtype_asset.h"
#include "support/asset_test_support.h"

namespace talvo {

namespace {

using KIND = ASSET_METADATA_KIND;
using Command = CommandAssetInterface;

class Commands : public testing::Test {
protected:
    Commands() { Resource::SetCurrentLanguage(Need(Resource::GetLanguage("en"_id))); }
    ~Commands() override { Resource::SetCurrentLanguage(nullptr); }
    AssetDescription Make(const Id& id) {
        const auto asset = Need(Command::Create());
        return Need(_repository->StoreAsset(id, Asset(StrongRef<AssetInterface>(asset)), nullptr));
    }
    static void Set(const AssetDescription& command, const LiteralId& key, Data value, KIND kind = KIND::NONE) {
        Need(command.StoreMetaData(InternedId(key), value, kind));
    }
    void SetDelegates(const AssetDescription& command, COMMAND_STATE state) {
        Set(command, COMMANDMETADATA::QUERYSTATE,
            Data(CommandQueryDelegate([state]() -> Result<COMMAND_STATE> { return state; })));
        Set(command, COMMANDMETADATA::EXECUTE, Data(CommandExecuteDelegate([this](Bool withOptions) -> Result<void> {
                _ran += withOptions ? "options" : "plain";
                return OK;
            })));
    }
    static std::string GetScopeNames(const AssetDescription& command) {
        std::string text;
        for (const String& name : Need(Command::GetCommandScopeNames(command))) text += "/" + ToText(name);
        return text;
    }

    const BaseAssetRepositoryRef _repository =
        Need(MemoryAssetRepository::Create("r"_id, {}, MemoryAssetRepository::ACCESS::WRITABLE));
    std::string _ran;
};

}  // namespace

TEST_F(Commands, runAsTheirStateAllows) {
    const struct {
        const char* why;
        UInt32 state;
        Bool withOptions;
        const char* ran;
    } rows[] = {
        {"not enabled", 8, true, ""},
        {"bits that mean nothing here", 2 | 4 | 16, false, ""},
        {"enabled, without options to show", 1, true, "plain"},
        {"enabled, with them", 1 | 8, true, "options"},
        {"not asked for", 1 | 8, false, "plain"},
        {"other bits besides", 1 | 2 | 4 | 16, true, "plain"},
    };
    const AssetDescription command = Make("command"_id);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        SetDelegates(command, COMMAND_STATE(row.state));
        _ran.clear();
        EXPECT_EQ(UInt32(Need(Command::QueryState(command))), row.state);
        Need(Command::Execute(command, row.withOptions));
        EXPECT_EQ(_ran, row.ran);
    }
}

TEST_F(Commands, sayWhatIsMissing) {
    const AssetDescription command = Make("command"_id);
    const auto noQuery = FailsWith<IllegalStateError>("Command asset error: no query delegate");
    const auto noExecute = FailsWith<IllegalStateError>("Command asset error: no execute delegate");
    EXPECT_THAT(Command::Execute(command, false), noQuery);
    EXPECT_THAT(Command::QueryState(command), noQuery);
    Set(command, COMMANDMETADATA::QUERYSTATE, Data(CommandQueryDelegate()));
    EXPECT_THAT(Command::QueryState(command), noQuery) << "a delegate that calls nothing";
    SetDelegates(command, COMMAND_STATE::ENABLED);
    for (const Data& nothing : {Data(), Data(CommandExecuteDelegate())}) {
        Set(command, COMMANDMETADATA::EXECUTE, nothing);
        EXPECT_THAT(Command::Execute(command, true), noExecute);
    }
    SetDelegates(command, COMMAND_STATE::NONE);
    Set(command, COMMANDMETADATA::EXECUTE, Data());
    EXPECT_THAT(Command::Execute(command, true), Succeeds()) << "not enabled: nobody asks what it would do";
    SetDelegates(command, COMMAND_STATE::ENABLED);
    Set(command, COMMANDMETADATA::EXECUTE,
        Data(CommandExecuteDelegate([](Bool) -> Result<void> { return UnknownError::Create("broken"); })));
    EXPECT_THAT(Command::Execute(command, false), FailsWith<UnknownError>("broken"));
    Set(command, COMMANDMETADATA::QUERYSTATE,
        Data(CommandQueryDelegate([]() -> Result<COMMAND_STATE> { return UnknownError::Create("no state"); })));
    EXPECT_THAT(Command::Execute(command, false), FailsWith<UnknownError>("no state"));
}

TEST_F(Commands, areAssetsOfTheirType) {
    const AssetDescription note = Need(_repository->StoreAsset("note"_id, MakeNote("text", {}), nullptr));
    const auto fails = FailsWith<IllegalArgumentError>("Asset input argument must be of type: 'net.talvo.assettype.command'");
    const auto check = [](const AssetDescription& asset, const auto& matcher) {
        EXPECT_THAT(Command::Execute(asset, false), matcher);
        EXPECT_THAT(Command::QueryState(asset), matcher);
        EXPECT_THAT(Command::GetLegacyId(asset), matcher);
        EXPECT_THAT(Command::GetCommandScopes(asset), matcher);
        EXPECT_THAT(Command::StoreCommandScopes(asset, {}), matcher);
        EXPECT_THAT(Command::ContainsCommandScope(asset, COMMANDSCOPE::UVS), matcher);
        EXPECT_THAT(Command::GetCommandScopeNames(asset), matcher);
        EXPECT_THAT(Command::GetCommandType(asset), matcher);
        EXPECT_FALSE(Command::AssetIsObjectCommandType(asset));
    };
    check(note, fails);
    check(nullptr, FailsWith<NullptrError>());
    const AssetDescription command = Make("command"_id);
    EXPECT_EQ(Need(Command::GetLegacyId(command)), -1);
    Set(command, COMMANDMETADATA::LEGACYID, Data(Int64(5159)));
    EXPECT_EQ(Need(Command::GetLegacyId(command)), 5159);
    EXPECT_TRUE(Need(Command::GetCommandType(command)).IsEmpty());
}

TEST_F(Commands, keepTheirScopes) {
    const AssetDescription command = Make("command"_id);
    BaseArray<Id> scopes = Need(Command::GetCommandScopes(command));
    EXPECT_TRUE(scopes.IsEmpty());
    EXPECT_FALSE(Need(Command::EraseCommandScope(COMMANDSCOPE::UVS, scopes)));
    EXPECT_TRUE(scopes.IsEmpty());
    EXPECT_TRUE(Need(Command::AddCommandScope(COMMANDSCOPE::UVS, scopes)));
    const BaseArray<Id> before = scopes;
    EXPECT_FALSE(Need(Command::AddCommandScope(COMMANDSCOPE::UVS, scopes)));
    EXPECT_TRUE(Need(Command::AddCommandScope(COMMANDSCOPE::MESH, scopes)));
    EXPECT_EQ(before.GetCount(), 1) << "a copy stays as it was";
    EventRecorder events(_repository);
    Need(Command::StoreCommandScopes(command, scopes));
    EXPECT_THAT(events.Take(), testing::ElementsAre(testing::HasSubstr("metadata.scopes 2 ")));
    EXPECT_TRUE(Need(Command::ContainsCommandScope(command, COMMANDSCOPE::MESH)));
    EXPECT_FALSE(Need(Command::ContainsCommandScope(command, COMMANDSCOPE::NODES)));
    EXPECT_TRUE(Need(Command::EraseCommandScope(COMMANDSCOPE::UVS, scopes)));
    EXPECT_EQ(scopes.GetCount(), 1);
    EXPECT_TRUE(Need(Command::ContainsCommandScope(command, COMMANDSCOPE::UVS))) << "until it is stored";
}

TEST_F(Commands, nameTheirScopesInDisplayOrder) {
    const AssetDescription command = Make("command"_id);
    EXPECT_EQ(GetScopeNames(command), "/Other");
    Set(command, COMMANDMETADATA::LEGACYSCOPE, Data(String()));
    EXPECT_EQ(GetScopeNames(command), "/Other");
    Set(command, COMMANDMETADATA::LEGACYSCOPE, Data(String("mesh 10")));
    EXPECT_EQ(GetScopeNames(command), "/mesh 10");
    BaseArray<Id> scopes;
    for (const LiteralId& scope : {COMMANDSCOPE::VIEWPORT, COMMANDSCOPE::MESH, "strange"_id}) Need(scopes.Append(scope));
    Need(Command::StoreCommandScopes(command, scopes));
    EXPECT_EQ(GetScopeNames(command), "/Mesh/mesh 10/Other/Viewport");
    const struct {
        Id scope;
        const char* name;
    } rows[] = {
        {COMMANDSCOPE::UVS, "UVs"},
        {COMMANDSCOPE::OBJECTS, "Objects"},
        {COMMANDSCOPE::NODES, "Node Editor"},
        {"net.talvo.asset.command.scope.other"_id, "Other"},
        {COMMANDSCOPE::PREFIX, "Other"},
        {"net.talvo.asset.command.scope.nothere"_id, "Other"},
        {"mesh"_id, "Other"},
        {Id(), "Other"},
    };
    for (const auto& row : rows) EXPECT_EQ(ToText(Command::GetCommandScopeName(row.scope)), row.name) << row.scope.GetView();
}

TEST_F(Commands, nameTheirTypesByTheSubtype) {
    const auto getName = [&](const Id& type) { return ToText(Need(Command::GetCommandTypeName(type, _repository))); };
    EXPECT_EQ(getName(COMMANDTYPE::TOOL), "net.talvo.asset.command.type.tool");
    EXPECT_EQ(getName(Id()), "");
    const auto asset = Need(SubTypeAssetInterface::Create());
    const AssetDescription subtype =
        Need(_repository->StoreAsset(COMMANDTYPE::TOOL, Asset(StrongRef<AssetInterface>(asset)), nullptr));
    EXPECT_EQ(getName(COMMANDTYPE::TOOL), "net.talvo.asset.command.type.tool") << "without a name";
    Need(subtype->StoreMetaString(InternedId(OBJECT_BASE_NAME), "Tool", nullptr));
    EXPECT_EQ(getName(COMMANDTYPE::TOOL), "Tool");
    EXPECT_THAT(Command::GetCommandTypeName(COMMANDTYPE::TOOL, nullptr), FailsWith<NullptrError>());
    const struct {
        Id type;
        Bool isObject;
    } rows[] = {{COMMANDTYPE::FIELD, true},
                {COMMANDTYPE::TAG, false},
                {"net.talvo.asset.command.type.object"_id, false},
                {"x.net.talvo.asset.command.type.object.field"_id, false},
                {Id(), false}};
    const AssetDescription command = Make("command"_id);
    for (const auto& [type, isObject] : rows) {
        EXPECT_EQ(Command::IsObjectCommandType(type), isObject) << type.GetView();
        Set(command, ASSETMETADATA::SUBTYPE, type.IsPopulated() ? Data(type) : Data(), KIND::PERSISTENT);
        EXPECT_EQ(Command::AssetIsObjectCommandType(command), isObject);
    }
}

TEST(LegacyCommands, areWhatWasRegisteredLast) {
    constexpr Int32 COMMAND = -77;
    EXPECT_TRUE(Need(Command::GetRegisteredLegacyCommandScopes(COMMAND)).IsEmpty());
    EXPECT_TRUE(Command::GetRegisteredLegacyCommandType(COMMAND).IsEmpty());
    BaseArray<Id> scopes;
    Need(scopes.Append(COMMANDSCOPE::MESH));
    Need(Command::RegisterLegacyCommandScopes(COMMAND, scopes));
    Need(Command::RegisterLegacyCommandType(COMMAND, COMMANDTYPE::TOOL));
    Need(scopes.Append(COMMANDSCOPE::MODEL));
    EXPECT_EQ(Need(Command::GetRegisteredLegacyCommandScopes(COMMAND)).GetCount(), 1) << "a copy";
    Need(Command::RegisterLegacyCommandScopes(COMMAND, scopes));
    Need(Command::RegisterLegacyCommandType(COMMAND, COMMANDTYPE::MODE));
    EXPECT_EQ(Need(Command::GetRegisteredLegacyCommandScopes(COMMAND)).GetCount(), 2);
    EXPECT_EQ(Command::GetRegisteredLegacyCommandType(COMMAND), COMMANDTYPE::MODE);
    EXPECT_TRUE(Command::GetRegisteredLegacyCommandType(COMMAND + 1).IsEmpty());
}

}  // namespace talvo
