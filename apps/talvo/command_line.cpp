#include "apps/talvo/command_line.h"

#include "apps/talvo/help_text.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <map>

namespace talvo {

namespace {

// The parser gives a meaning of its own to some words that are plain values here: "[a,b]" would be split, "-5" be taken for
// an option, "++" for the end of a command. Such a word goes in with a guard in front of it, which comes off again afterwards.
constexpr char GUARD = '\x1f';

Bool NeedsGuard(std::string_view word) {
    if (word.empty()) return false;
    if (word.front() == '[' || word.front() == GUARD || word == "++") return true;
    return word.size() > 1 && word[0] == '-' && (std::isdigit(UChar(word[1])) || word[1] == '.');
}

std::vector<std::string> RemoveGuards(std::vector<std::string> words) {
    for (std::string& word : words) {
        if (!word.empty() && word.front() == GUARD) word.erase(0, 1);
    }
    return words;
}

}  // namespace

struct CommandLine::Parser {
    CLI::App app;
    std::vector<std::pair<CLI::Option*, const Argument*>> bindings;
    std::map<std::string, CLI::App*> parts;  // program, groups and commands by name

    static void Prepare(CLI::App& part) {
        part.set_help_flag("-h,--help", "");
        part.fallthrough();
        part.failure_message([](const CLI::App*, const CLI::Error& error) { return std::string(error.what()); });
    }

    void Declare(CLI::App& part, const ArgumentList& arguments) {
        for (const Argument& argument : arguments.GetAll()) {
            CLI::Option* option =
                argument.form == Argument::FORM::FLAG ? part.add_flag(argument.name) : part.add_option(argument.name);
            if (argument.form == Argument::FORM::REQUIRED || argument.form == Argument::FORM::LIST) option->required();
            if (argument.form == Argument::FORM::LIST) option->expected(1, CLI::detail::expected_max_vector_size);
            if (argument.form == Argument::FORM::LIST) option->allow_extra_args();
            if (argument.form == Argument::FORM::OPTIONS) option->expected(1)->take_all();
            bindings.emplace_back(option, &argument);
        }
    }

    CLI::App& MakePart(const std::string& name) {
        const std::size_t blank = name.find(' ');
        CLI::App* parent = &app;
        if (blank != std::string::npos) {
            const std::string group = name.substr(0, blank);
            if (!parts.contains(group)) MakePart(group).require_subcommand(1);
            parent = parts[group];
        }
        CLI::App* part = parent->add_subcommand(blank == std::string::npos ? name : name.substr(blank + 1));
        Prepare(*part);
        return *(parts[name] = part);
    }

    std::string FindNamed() const {
        std::string named;
        for (const auto& [name, part] : parts) {
            if (part->parsed() && name.size() > named.size()) named = name;
        }
        return named;
    }

    void HandOut() const {
        for (const auto& [option, argument] : bindings) {
            if (option->count() > 0) argument->take(RemoveGuards(option->results()));
        }
    }
};

CommandLine::CommandLine(CommandList commands) {
    _common.AddOption("--home", "DIR", _options.home,
                      "keep preferences, caches and settings below DIR (default: $TALVO_HOME, else the XDG folders)");
    _common.AddOptions("--base", "REPO", _options.bases, "look in this repository, too, behind the others (may be repeated)");
    _common.AddFlag("--json", _options.json, "print one JSON object a line");
    _common.AddFlag("--quiet", _options.quiet, "no progress and no summaries on standard error");
    _common.AddFlag("--no-progress", _options.noProgress, "no progress on standard error");
    _common.AddOption("--color", "WHEN", _color, "auto, always or never (default: auto)");
    _common.AddFlag("--version", _showVersion, "show the program's version");
    for (auto& command : commands) {
        _entries.push_back({std::move(command), {}});
        _entries.back().command->DeclareArguments(_entries.back().arguments);
    }
}

CommandLine::~CommandLine() = default;

const CommandLine::Entry* CommandLine::FindEntry() const {
    const auto found = std::find_if(_entries.begin(), _entries.end(),
                                    [&](const Entry& entry) { return entry.command->GetWords().name == _named; });
    return found == _entries.end() ? nullptr : &*found;
}

std::string CommandLine::GetUsage() const {
    const Entry* entry = FindEntry();
    return entry ? HelpText::MakeUsage(entry->command->GetWords(), entry->arguments) : HelpText::MakeGroupUsage(_named);
}

std::string CommandLine::GetHelp() const {
    if (const Entry* entry = FindEntry()) return HelpText::MakeHelp(entry->command->GetWords(), entry->arguments, _common);
    std::vector<CommandWords> words;
    for (const Entry& entry : _entries) words.push_back(entry.command->GetWords());
    return HelpText::MakeGroupHelp(_named, words, _common);
}

Result<CommandLine::ACTION> CommandLine::Parse(int count, char** words) {
    Parser parser;
    Parser::Prepare(parser.app);
    parser.app.require_subcommand(1);
    parser.Declare(parser.app, _common);
    for (const Entry& entry : _entries) parser.Declare(parser.MakePart(entry.command->GetWords().name), entry.arguments);

    std::vector<std::string> reversed;  // the order in which the parser takes them
    for (int i = count - 1; i > 0; i--) {
        reversed.push_back(NeedsGuard(words[i]) ? GUARD + std::string(words[i]) : words[i]);
        // Also where parsing fails, so that the error comes in the form that was asked for.
        if (std::strcmp(words[i], "--json") == 0) _options.json = true;
    }
    ErrorRef problem;
    Bool help = false;
    try {
        parser.app.parse(std::move(reversed));
    } catch (const CLI::CallForHelp&) {
        help = true;
    } catch (const CLI::ArgumentMismatch& error) {
        const std::string what = error.what();
        problem = WrongUsageError::Create(what.substr(0, what.find(':')) + " needs a value.");
    } catch (const CLI::Error& error) {
        problem = WrongUsageError::Create(RemoveGuards({error.what()}).front());
    }
    parser.HandOut();
    _named = parser.FindNamed();
    if (const Entry* entry = FindEntry()) _command = entry->command.get();

    if (help) return ACTION::SHOW_HELP;
    if (_showVersion && _named.empty()) return ACTION::SHOW_VERSION;
    if (problem && !_command) return HelpText::ExplainUnknownCommand(count, words, _named, problem);
    if (problem) return problem;
    if (_showVersion) return WrongUsageError::Create("The command " + _named + " has no option --version.");
    if (_color) {
        if (*_color != "auto" && *_color != "always" && *_color != "never")
            return WrongUsageError::Create("--color takes auto, always or never, not \"" + *_color + "\".");
        _options.color = *_color == "auto" ? COLOR_USE::AUTO : *_color == "always" ? COLOR_USE::ALWAYS : COLOR_USE::NEVER;
    }
    return ACTION::RUN;
}

}  // namespace talvo
