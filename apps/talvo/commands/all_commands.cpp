#include "apps/talvo/commands/all_commands.h"

namespace talvo {

CommandList MakeAllCommands() {
    CommandList commands;
    commands.push_back(MakeInitCommand());
    commands.push_back(MakeImportCommand());
    commands.push_back(MakeListCommand());
    commands.push_back(MakeShowCommand());
    commands.push_back(MakeSearchCommand());
    commands.push_back(MakeTreeCommand());
    commands.push_back(MakeBrowseCommand());
    commands.push_back(MakeFilterCommand());
    commands.push_back(MakeExplainCommand());
    commands.push_back(MakeCatCommand());
    commands.push_back(MakeExportCommand());
    commands.push_back(MakeUrlCommand());
    commands.push_back(MakeOpenCommand());
    commands.push_back(MakeResolveCommand());
    commands.push_back(MakeStoreCommand());
    commands.push_back(MakeDeleteCommand());
    commands.push_back(MakeEraseCommand());
    commands.push_back(MakeCopyCommand());
    commands.push_back(MakeMetaListCommand());
    commands.push_back(MakeMetaGetCommand());
    commands.push_back(MakeMetaSetCommand());
    commands.push_back(MakeMetaUnsetCommand());
    commands.push_back(MakeVerifyCommand());
    commands.push_back(MakeGcCommand());
    commands.push_back(MakeStatCommand());
    commands.push_back(MakeReposCommand());
    commands.push_back(MakeCategoryAddCommand());
    commands.push_back(MakeCategoryListCommand());
    commands.push_back(MakeCategoryTreeCommand());
    commands.push_back(MakeCategorySetCommand());
    commands.push_back(MakeColorAddCommand());
    commands.push_back(MakeColorSetCommand());
    commands.push_back(MakeColorListCommand());
    commands.push_back(MakeNameCommand());
    commands.push_back(MakeRepositoryNameCommand());
    commands.push_back(MakeTagCommand());
    commands.push_back(MakeIconCommand());
    commands.push_back(MakeKeywordAddCommand());
    commands.push_back(MakeKeywordRemoveCommand());
    commands.push_back(MakeKeywordListCommand());
    commands.push_back(MakeFavouriteCommand());
    commands.push_back(MakeUseCommand());
    commands.push_back(MakeSmartSearchAddCommand());
    commands.push_back(MakeSmartSearchListCommand());
    commands.push_back(MakeDefaultGetCommand());
    commands.push_back(MakeDefaultSetCommand());
    commands.push_back(MakeDefaultUnsetCommand());
    commands.push_back(MakeCommandListCommand());
    commands.push_back(MakeCommandRunCommand());
    commands.push_back(MakeCompactCommand());
    commands.push_back(MakeIndexCommand());
    commands.push_back(MakeDoctorCommand());
    return commands;
}

}  // namespace talvo
