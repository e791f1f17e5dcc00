// What a command of the program is: its words, its arguments and its work.
#pragma once

#include "apps/talvo/options.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace talvo {

class Output;

/// One thing that a command takes from its line.
struct Argument {
    enum class FORM { REQUIRED, OPTIONAL, LIST, OPTION, OPTIONS, FLAG };
    FORM form;
    std::string name;       ///< "REPO", or "--version"
    std::string valueName;  ///< of an option: what stands behind it in the help
    std::string help;
    /// Gets what stood on the line, if anything did; a flag gets an empty list.
    std::function<void(const std::vector<std::string>& values)> take;

    Bool IsPositional() const { return form == FORM::REQUIRED || form == FORM::OPTIONAL || form == FORM::LIST; }
};

/// What a command declares: where each argument goes, and what the help says of it. Targets live as long as the command.
class ArgumentList {
public:
    void AddRequired(std::string_view name, std::string& target, std::string_view help);
    void AddOptional(std::string_view name, Opt<std::string>& target, std::string_view help);
    /// One or more, behind all other arguments without a name.
    void AddList(std::string_view name, std::vector<std::string>& target, std::string_view help);
    void AddOption(std::string_view name, std::string_view valueName, Opt<std::string>& target, std::string_view help);
    /// An option that may be given more than once.
    void AddOptions(std::string_view name, std::string_view valueName, std::vector<std::string>& target, std::string_view help);
    void AddFlag(std::string_view name, Bool& target, std::string_view help);

    const std::vector<Argument>& GetAll() const { return _arguments; }

private:
    std::vector<Argument> _arguments;
};

/// The texts of a command.
struct CommandWords {
    const char* name;     ///< "list", or "meta get" for a command in a group
    const char* summary;  ///< one line
    const char* example;  ///< whole lines
    const char* details = "";
};

/// One command. Each lies in a file of its own in `commands/`.
class Command {
public:
    virtual ~Command() = default;
    virtual CommandWords GetWords() const = 0;
    virtual void DeclareArguments(ArgumentList& arguments) = 0;
    /// Errors end the program with exit code 1, WrongUsageError with 2.
    virtual Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) = 0;
};
using CommandList = std::vector<std::unique_ptr<Command>>;

/// All commands in the order of the help.
CommandList MakeAllCommands();

}  // namespace talvo
