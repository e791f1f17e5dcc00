#include "kernel/app/log.h"
#include "kernel/app/settings.h"
#include "kernel/text/format.h"

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <string>
#include <utility>

namespace talvo {

namespace {

struct Variables {
    std::mutex mutex;
    std::vector<ConfigVariable*> all;
};

/// Never destroyed: variables are statics, too.
Variables& GetVariables() {
    static Variables& variables = *new Variables;
    return variables;
}

using Assignment = std::pair<std::string, Bool>;

Result<Assignment> ReadAssignment(std::string_view text) {
    const std::size_t equals = text.find('=');
    const std::string_view value = equals == std::string_view::npos ? std::string_view() : text.substr(equals + 1);
    if (value != "true" && value != "false") {
        return IllegalArgumentError::Create(
            FormatMessage("Can't read \"@\" as the setting of a variable. Write name=true or name=false.", MakeUtf8(text)));
    }
    return Assignment(text.substr(0, equals), value == "true");
}

Result<std::vector<Assignment>> ReadAssignments(std::string_view text) {
    std::vector<Assignment> assignments;
    while (!text.empty()) {
        const std::string_view part = text.substr(0, text.find(','));
        text.remove_prefix(std::min(part.size() + 1, text.size()));
        if (part.empty()) continue;
        Assignment assignment = TRY(ReadAssignment(part));
        assignments.push_back(std::move(assignment));
    }
    return assignments;
}

std::vector<Assignment> ReadEnvironment() {
    const char* text = std::getenv("TALVO_CONFIG");
    Result<std::vector<Assignment>> assignments = ReadAssignments(text ? text : "");
    if (assignments.IsOk()) return std::move(assignments).GetValue();
    LogLine(LOG_LEVEL::WARNING, "TALVO_CONFIG: " + assignments.GetError()->GetMessage());
    return {};
}

/// The environment is read at the first variable: they come at load, in no order.
Bool GetInitialValue(std::string_view name, Bool defaultValue) {
    static const auto& environment = *new std::vector<Assignment>(ReadEnvironment());
    Bool value = defaultValue;
    for (const Assignment& assignment : environment) {
        if (assignment.first == name) value = assignment.second;
    }
    return value;
}

ConfigVariable* FindVariable(const std::vector<ConfigVariable*>& all, std::string_view name) {
    const auto found =
        std::find_if(all.begin(), all.end(), [&](const ConfigVariable* variable) { return variable->GetName() == name; });
    return found == all.end() ? nullptr : *found;
}

}  // namespace

ConfigVariable::ConfigVariable(const char* name, Bool defaultValue, const char* help)
    : _name(name), _default(defaultValue), _help(help), _value(GetInitialValue(name, defaultValue)) {
    const std::scoped_lock lock(GetVariables().mutex);
    GetVariables().all.push_back(this);
}

ConfigVariable::~ConfigVariable() {
    const std::scoped_lock lock(GetVariables().mutex);
    std::erase(GetVariables().all, this);
}

std::vector<ConfigVariable*> ConfigVariable::GetAll() {
    const std::scoped_lock lock(GetVariables().mutex);
    std::vector<ConfigVariable*> all = GetVariables().all;
    std::sort(all.begin(), all.end(),
              [](const auto* first, const auto* second) { return std::string_view(first->GetName()) < second->GetName(); });
    return all;
}

Result<void> ConfigVariable::SetFromText(std::string_view text) {
    const std::vector<Assignment> assignments = TRY(ReadAssignments(text));
    const std::vector<ConfigVariable*> all = GetAll();
    for (const Assignment& assignment : assignments) {
        if (FindVariable(all, assignment.first)) continue;
        return IllegalArgumentError::Create(
            FormatMessage("There is no configuration variable \"@\".", MakeUtf8(assignment.first)));
    }
    for (const Assignment& assignment : assignments) FindVariable(all, assignment.first)->Set(assignment.second);
    return OK;
}

}  // namespace talvo
