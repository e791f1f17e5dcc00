#include "apps/talvo/command.h"

namespace talvo {

void ArgumentList::AddRequired(std::string_view name, std::string& target, std::string_view help) {
    _arguments.push_back(
        {Argument::FORM::REQUIRED, std::string(name), {}, std::string(help), [&target](const std::vector<std::string>& values) {
             target = values.front();
         }});
}

void ArgumentList::AddOptional(std::string_view name, Opt<std::string>& target, std::string_view help) {
    _arguments.push_back(
        {Argument::FORM::OPTIONAL, std::string(name), {}, std::string(help), [&target](const std::vector<std::string>& values) {
             target = values.front();
         }});
}

void ArgumentList::AddList(std::string_view name, std::vector<std::string>& target, std::string_view help) {
    _arguments.push_back(
        {Argument::FORM::LIST, std::string(name), {}, std::string(help), [&target](const std::vector<std::string>& values) {
             target = values;
         }});
}

void ArgumentList::AddOption(std::string_view name, std::string_view valueName, Opt<std::string>& target, std::string_view help) {
    _arguments.push_back({Argument::FORM::OPTION, std::string(name), std::string(valueName), std::string(help),
                          [&target](const std::vector<std::string>& values) { target = values.back(); }});
}

void ArgumentList::AddOptions(std::string_view name, std::string_view valueName, std::vector<std::string>& target,
                              std::string_view help) {
    _arguments.push_back({Argument::FORM::OPTIONS, std::string(name), std::string(valueName), std::string(help),
                          [&target](const std::vector<std::string>& values) { target = values; }});
}

void ArgumentList::AddFlag(std::string_view name, Bool& target, std::string_view help) {
    _arguments.push_back(
        {Argument::FORM::FLAG, std::string(name), {}, std::string(help), [&target](const std::vector<std::string>&) {
             target = true;
         }});
}

}  // namespace talvo
