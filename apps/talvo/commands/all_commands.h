// The makers of all commands.
#pragma once

#include "apps/talvo/command.h"

namespace talvo {

std::unique_ptr<Command> MakeInitCommand();
std::unique_ptr<Command> MakeImportCommand();
std::unique_ptr<Command> MakeListCommand();
std::unique_ptr<Command> MakeShowCommand();
std::unique_ptr<Command> MakeCatCommand();
std::unique_ptr<Command> MakeExportCommand();
std::unique_ptr<Command> MakeStoreCommand();
std::unique_ptr<Command> MakeDeleteCommand();
std::unique_ptr<Command> MakeEraseCommand();
std::unique_ptr<Command> MakeCopyCommand();
std::unique_ptr<Command> MakeMetaListCommand();
std::unique_ptr<Command> MakeMetaGetCommand();
std::unique_ptr<Command> MakeMetaSetCommand();
std::unique_ptr<Command> MakeMetaUnsetCommand();
std::unique_ptr<Command> MakeVerifyCommand();
std::unique_ptr<Command> MakeGcCommand();
std::unique_ptr<Command> MakeStatCommand();
std::unique_ptr<Command> MakeReposCommand();
std::unique_ptr<Command> MakeUrlCommand();
std::unique_ptr<Command> MakeOpenCommand();
std::unique_ptr<Command> MakeResolveCommand();
std::unique_ptr<Command> MakeCategoryAddCommand();
std::unique_ptr<Command> MakeCategoryListCommand();
std::unique_ptr<Command> MakeCategoryTreeCommand();
std::unique_ptr<Command> MakeCategorySetCommand();
std::unique_ptr<Command> MakeColorAddCommand();
std::unique_ptr<Command> MakeColorSetCommand();
std::unique_ptr<Command> MakeColorListCommand();
std::unique_ptr<Command> MakeNameCommand();
std::unique_ptr<Command> MakeRepositoryNameCommand();
std::unique_ptr<Command> MakeTagCommand();
std::unique_ptr<Command> MakeIconCommand();
std::unique_ptr<Command> MakeCompactCommand();
std::unique_ptr<Command> MakeIndexCommand();
std::unique_ptr<Command> MakeDoctorCommand();
std::unique_ptr<Command> MakeSearchCommand();
std::unique_ptr<Command> MakeKeywordAddCommand();
std::unique_ptr<Command> MakeKeywordRemoveCommand();
std::unique_ptr<Command> MakeKeywordListCommand();
std::unique_ptr<Command> MakeFavouriteCommand();
std::unique_ptr<Command> MakeUseCommand();
std::unique_ptr<Command> MakeSmartSearchAddCommand();
std::unique_ptr<Command> MakeSmartSearchListCommand();
std::unique_ptr<Command> MakeDefaultGetCommand();
std::unique_ptr<Command> MakeDefaultSetCommand();
std::unique_ptr<Command> MakeDefaultUnsetCommand();
std::unique_ptr<Command> MakeCommandListCommand();
std::unique_ptr<Command> MakeCommandRunCommand();
std::unique_ptr<Command> MakeBrowseCommand();
std::unique_ptr<Command> MakeTreeCommand();
std::unique_ptr<Command> MakeFilterCommand();
std::unique_ptr<Command> MakeExplainCommand();

}  // namespace talvo
