// The texts that `--help` and wrong usage show.
#pragma once

#include "apps/talvo/command.h"

namespace talvo::HelpText {

/// "Usage: talvo show REPO ID [--version V]"
std::string MakeUsage(const CommandWords& words, const ArgumentList& arguments);
/// The usage of the program (`group` is empty) or of a group of commands.
std::string MakeGroupUsage(const std::string& group);
/// Everything on one command.
std::string MakeHelp(const CommandWords& words, const ArgumentList& arguments, const ArgumentList& common);
/// The commands of the program, or of a group.
std::string MakeGroupHelp(const std::string& group, const std::vector<CommandWords>& commands, const ArgumentList& common);
/// What to say of a line that names no command, but perhaps a group. @param problem what the parser said.
ErrorRef ExplainUnknownCommand(int count, char** words, const std::string& group, const ErrorRef& problem);

}  // namespace talvo::HelpText
