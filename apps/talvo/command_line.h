// From the words of the command line to a command with its arguments set.
#pragma once

#include "apps/talvo/command.h"

#include <memory>
#include <string>

namespace talvo {

/// The command line's grammar: common options, then a command with its own. Common options may stand behind the command, too.
class CommandLine {
public:
    explicit CommandLine(CommandList commands);
    ~CommandLine();

    enum class ACTION { RUN, SHOW_HELP, SHOW_VERSION };
    /// Fills options and the arguments of the command that was named. Call it once.
    /// Errors: WrongUsageError. Options that were understood before it are set.
    Result<ACTION> Parse(int count, char** words);

    const CommonOptions& GetOptions() const { return _options; }
    /// The command that was named; null if there was none, or only a group.
    Command* FindCommand() const { return _command; }
    /// One line on how to call what was named.
    std::string GetUsage() const;
    /// Help on what was named: the program, a group or a command.
    std::string GetHelp() const;

private:
    struct Entry {
        std::unique_ptr<Command> command;
        ArgumentList arguments;
    };
    struct Parser;

    const Entry* FindEntry() const;

    CommonOptions _options;
    ArgumentList _common;
    std::vector<Entry> _entries;
    Opt<std::string> _color;
    Bool _showVersion = false;
    std::string _named;  // "", "list", "meta" or "meta get"
    Command* _command = nullptr;
};

}  // namespace talvo
