#include "apps/talvo/help_text.h"

#include <algorithm>

namespace talvo::HelpText {

namespace {

std::string MakeUsagePart(const Argument& argument) {
    switch (argument.form) {
        case Argument::FORM::REQUIRED: return " " + argument.name;
        case Argument::FORM::OPTIONAL: return " [" + argument.name + "]";
        case Argument::FORM::LIST: return " " + argument.name + "...";
        case Argument::FORM::OPTION: return " [" + argument.name + " " + argument.valueName + "]";
        case Argument::FORM::OPTIONS: return " [" + argument.name + " " + argument.valueName + "]...";
        case Argument::FORM::FLAG: return " [" + argument.name + "]";
    }
    return {};
}

enum class PLACE { POSITIONAL, NAMED };
using Row = std::pair<std::string, std::string>;

std::string MakeRows(const char* title, const std::vector<Row>& rows) {
    if (rows.empty()) return {};
    std::size_t width = 0;
    for (const Row& row : rows) width = std::max(width, row.first.size());
    std::string text = std::string("\n") + title + ":\n";
    for (const Row& row : rows) text += "  " + row.first + std::string(width - row.first.size() + 2, ' ') + row.second + "\n";
    return text;
}

std::vector<Row> MakeArgumentRows(const ArgumentList& arguments, PLACE place) {
    std::vector<Row> rows;
    for (const Argument& argument : arguments.GetAll()) {
        if (argument.IsPositional() != (place == PLACE::POSITIONAL)) continue;
        rows.emplace_back(argument.valueName.empty() ? argument.name : argument.name + " " + argument.valueName, argument.help);
    }
    return rows;
}

std::string Indent(std::string_view lines) {
    std::string text = "  ";
    for (const char c : lines) {
        text += c;
        if (c == '\n') text += "  ";
    }
    return text + "\n";
}

// How many characters must be changed, added or dropped to make one word of the other.
std::size_t CountEdits(std::string_view first, std::string_view second) {
    std::vector<std::size_t> row(second.size() + 1);
    for (std::size_t j = 0; j < row.size(); j++) row[j] = j;
    for (std::size_t i = 1; i <= first.size(); i++) {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 1; j < row.size(); j++) {
            const std::size_t change = diagonal + (first[i - 1] == second[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({change, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row.back();
}

std::string FindSimilarCommand(std::string_view word) {
    std::string best;
    std::size_t bestEdits = 3;
    for (const auto& command : MakeAllCommands()) {
        std::string name = command->GetWords().name;
        if (word.find(' ') == std::string_view::npos) name = name.substr(0, name.find(' '));  // a group
        const std::size_t edits = CountEdits(word, name);
        if (edits < bestEdits) {
            best = name;
            bestEdits = edits;
        }
    }
    return best;
}

}  // namespace

std::string MakeUsage(const CommandWords& words, const ArgumentList& arguments) {
    std::string usage = std::string("Usage: talvo ") + words.name;
    for (const Argument& argument : arguments.GetAll()) usage += MakeUsagePart(argument);
    return usage + "\n";
}

std::string MakeGroupUsage(const std::string& group) {
    return "Usage: talvo " + (group.empty() ? "" : group + " ") + "COMMAND [ARGUMENTS]\n";
}

std::string MakeHelp(const CommandWords& words, const ArgumentList& arguments, const ArgumentList& common) {
    std::string text = std::string(words.summary) + "\n\nExample:\n" + Indent(words.example) + "\n" + MakeUsage(words, arguments);
    if (*words.details) text += std::string("\n") + words.details + "\n";
    text += MakeRows("Arguments", MakeArgumentRows(arguments, PLACE::POSITIONAL));
    text += MakeRows("Options", MakeArgumentRows(arguments, PLACE::NAMED));
    std::vector<Row> rows = MakeArgumentRows(common, PLACE::NAMED);
    // The program's own --version is not for commands.
    std::erase_if(rows, [](const Row& row) { return row.first == "--version"; });
    return text + MakeRows("Common options", rows);
}

std::string MakeGroupHelp(const std::string& group, const std::vector<CommandWords>& commands, const ArgumentList& common) {
    std::string text = group.empty() ? "Keeps files as versioned assets in repository folders, and finds them again.\n\n" : "";
    if (group.empty()) {
        text += "Example:\n" + Indent("talvo init shelf\ntalvo import shelf ~/models\ntalvo list shelf") + "\n";
    }
    text += MakeGroupUsage(group);
    std::vector<Row> rows;
    for (const CommandWords& words : commands) {
        const std::string name = words.name;
        if (group.empty() || name.starts_with(group + " ")) rows.emplace_back(name, words.summary);
    }
    text += MakeRows("Commands", rows) + MakeRows("Options", MakeArgumentRows(common, PLACE::NAMED));
    return text + "\n\"talvo COMMAND --help\" tells more about one of them.\n";
}

ErrorRef ExplainUnknownCommand(int count, char** words, const std::string& group, const ErrorRef& problem) {
    const std::vector<std::string_view> takeValue{"--home", "--base", "--color"};
    Bool isInGroup = group.empty();
    for (int i = 1; i < count; i++) {
        const std::string_view word = words[i];
        if (std::find(takeValue.begin(), takeValue.end(), word) != takeValue.end()) i++;
        if (word.starts_with("-")) continue;
        if (!isInGroup) {
            isInGroup = word == group;
            continue;
        }
        const std::string name = group.empty() ? std::string(word) : group + " " + std::string(word);
        const std::string similar = FindSimilarCommand(name);
        return WrongUsageError::Create("There is no command \"" + name + "\"." +
                                       (similar.empty() ? "" : " Did you mean \"" + similar + "\"?"));
    }
    const Bool missing = count == 1 || !group.empty();
    return missing ? WrongUsageError::Create("A command is missing; \"talvo " + (group.empty() ? "" : group + " ") +
                                             "--help\" lists them.")
                   : problem;
}

}  // namespace talvo::HelpText
