#include "kernel/io/fault_point.h"
#include "kernel/io/file_errors.h"
#include "kernel/text/format.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace talvo {

#ifdef TALVO_FAULTS

namespace detail {
std::atomic<FAULT_STATE> faultState{FAULT_STATE::UNREAD};
}

namespace {

using detail::FAULT_STATE;
using detail::FaultSubject;

struct Rule {
    enum KIND { KILL_BEFORE, KILL_AFTER, FAIL, FAIL_FROM, SHORT } kind = FAIL;
    Int number = 0;
    int error = 0;

    Bool Fits(Int operation) const { return kind == FAIL_FROM ? operation >= number : operation == number; }
};

struct Plan {
    std::vector<Rule> rules;
    std::string tracePath;
    int trace = -1;
};

struct State {
    std::mutex mutex;
    Plan plan;
    std::string scope;
    Int count = 0;
    Bool hit = false;
};

/// Never destroyed: files are still closed when statics go.
State& GetState() {
    static State& state = *new State;
    return state;
}

constexpr std::array<std::pair<std::string_view, Rule::KIND>, 5> KINDS{{{"kill-before", Rule::KILL_BEFORE},
                                                                        {"kill-after", Rule::KILL_AFTER},
                                                                        {"failfrom", Rule::FAIL_FROM},
                                                                        {"fail", Rule::FAIL},
                                                                        {"short", Rule::SHORT}}};
constexpr std::array<std::pair<std::string_view, int>, 4> ERRORS{
    {{"ENOSPC", ENOSPC}, {"EIO", EIO}, {"EMFILE", EMFILE}, {"EACCES", EACCES}}};

constexpr std::array<const char*, 18> OPERATION_NAMES{"OPEN_READ", "OPEN_WRITE",       "CREATE", "READ",     "WRITE",
                                                      "SYNC",      "SYNC_DIRECTORY",   "RENAME", "EXCHANGE", "MAKE_DIRECTORY",
                                                      "UNLINK",    "REMOVE_DIRECTORY", "STAT",   "LIST",     "TRUNCATE",
                                                      "LOCK",      "SET_ATTRIBUTES",   "CLOSE"};

template <typename T>
Bool ReadNumber(std::string_view text, T& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() && number > 0;
}

Bool ReadErrorNumber(std::string_view text, int& number) {
    for (const auto& [name, value] : ERRORS) {
        if (name == text) {
            number = value;
            return true;
        }
    }
    return ReadNumber(text, number);
}

/// One part of a plan, such as "fail@3:ENOSPC".
Bool ReadRule(std::string_view text, Rule& rule) {
    const std::size_t at = text.find('@');
    if (at == std::string_view::npos) return false;
    const auto kind =
        std::find_if(KINDS.begin(), KINDS.end(), [&](const auto& entry) { return entry.first == text.substr(0, at); });
    if (kind == KINDS.end()) return false;
    rule.kind = kind->second;
    std::string_view number = text.substr(at + 1);
    const Bool fails = rule.kind == Rule::FAIL || rule.kind == Rule::FAIL_FROM;
    const std::size_t colon = number.find(':');
    if (fails != (colon != std::string_view::npos)) return false;
    if (fails && !ReadErrorNumber(number.substr(colon + 1), rule.error)) return false;
    return ReadNumber(number.substr(0, colon), rule.number);
}

Result<Plan> ReadPlan(std::string_view text) {
    constexpr std::string_view TRACE = "trace:";
    Plan plan;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(';'), text.size());
        const std::string_view part = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        Rule rule;
        if (part.starts_with(TRACE)) {
            plan.tracePath = part.substr(TRACE.size());
        } else if (ReadRule(part, rule)) {
            plan.rules.push_back(rule);
        } else {
            return IllegalArgumentError::Create(FormatMessage(
                "Can't read \"@\" in a plan of file faults. Write for instance fail@3:ENOSPC or kill-before@7.", part));
        }
    }
    return plan;
}

Result<void> OpenTrace(Plan& plan) {
    if (plan.tracePath.empty()) return OK;
    plan.trace = open(plan.tracePath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0666);
    if (plan.trace < 0) return MakeFileError("open the trace", plan.tracePath, errno);
    return OK;
}

/// The plan of the environment, for programs that tests start. A plan that can't be read must not pass as "no faults".
void ReadEnvironment() {
    const char* scope = std::getenv("TALVO_IO_SCOPE");
    if (scope) FaultPlan::SetScope(scope);
    const char* plan = std::getenv("TALVO_IO_PLAN");
    if (!plan) {
        FAULT_STATE unread = FAULT_STATE::UNREAD;
        detail::faultState.compare_exchange_strong(unread, FAULT_STATE::OFF);
        return;
    }
    const Result<void> set = FaultPlan::Set(plan);
    if (set.IsError()) {
        std::fprintf(stderr, "TALVO_IO_PLAN: %s\n", set.GetError()->GetMessage().c_str());
        std::abort();
    }
}

Bool IsBelow(std::string_view path, std::string_view scope) {
    return path.starts_with(scope) && (path.size() == scope.size() || path[scope.size()] == '/');
}

Bool IsInScope(const FaultSubject& subject, const std::string& scope) {
    return scope.empty() || IsBelow(subject.path, scope) || IsBelow(subject.secondPath, scope);
}

[[noreturn]] void KillSelf() {
    kill(getpid(), SIGKILL);
    for (;;) pause();
}

void AppendHex(std::string& line, UChar byte) {
    constexpr std::string_view DIGITS = "0123456789abcdef";
    line += DIGITS[byte >> 4];
    line += DIGITS[byte & 15];
}

void AppendPath(std::string& line, std::string_view path) {
    line += path.empty() ? " -" : " ";
    for (const char c : path) {
        const UChar byte = static_cast<UChar>(c);
        if (byte > 32 && byte != '%' && byte != 127) {
            line += c;
        } else {
            line += '%';
            AppendHex(line, byte);
        }
    }
}

void WriteTraceLine(int trace, Int number, FILE_OPERATION operation, const FaultSubject& subject, int error) {
    std::string line = FormatMessage("@ @ @", number, OPERATION_NAMES[std::size_t(operation)], error);
    AppendPath(line, subject.path);
    AppendPath(line, subject.secondPath);
    line += subject.bytes.empty() ? " -" : " ";
    for (const char c : subject.bytes) AppendHex(line, static_cast<UChar>(c));
    line += '\n';
    std::string_view rest = line;
    while (!rest.empty()) {
        const ssize_t count = write(trace, rest.data(), rest.size());
        if (count <= 0) return;  // a trace that misses lines shows it by their numbers
        rest.remove_prefix(std::size_t(count));
    }
}

}  // namespace

namespace detail {

void FaultPoint::Enter(FILE_OPERATION, const FaultSubject& subject) {
    if (faultState.load() == FAULT_STATE::UNREAD) ReadEnvironment();
    State& state = GetState();
    const std::scoped_lock lock(state.mutex);
    if (faultState.load() != FAULT_STATE::ON || !IsInScope(subject, state.scope)) return;
    _number = ++state.count;
    for (const Rule& rule : state.plan.rules) {
        if (!rule.Fits(_number)) continue;
        if (rule.kind == Rule::KILL_BEFORE) KillSelf();
        if (rule.kind == Rule::KILL_AFTER) continue;  // when leaving
        state.hit = true;
        if (rule.kind == Rule::SHORT)
            _short = true;
        else
            _error = rule.error;
    }
}

void FaultPoint::LeaveCounted(FILE_OPERATION operation, const FaultSubject& subject, int error) const {
    State& state = GetState();
    const std::scoped_lock lock(state.mutex);
    if (state.plan.trace >= 0) WriteTraceLine(state.plan.trace, _number, operation, subject, error);
    for (const Rule& rule : state.plan.rules) {
        if (rule.kind == Rule::KILL_AFTER && rule.Fits(_number)) KillSelf();
    }
}

Bool IsFaultTraceOn() {
    if (faultState.load(std::memory_order_relaxed) == FAULT_STATE::OFF) return false;
    State& state = GetState();
    const std::scoped_lock lock(state.mutex);
    return state.plan.trace >= 0;
}

}  // namespace detail

Result<void> FaultPlan::Set(std::string_view text) {
    Plan plan = TRY(ReadPlan(text));
    TRY(OpenTrace(plan));
    State& state = GetState();
    const std::scoped_lock lock(state.mutex);
    std::swap(state.plan, plan);
    if (plan.trace >= 0) close(plan.trace);
    state.count = 0;
    state.hit = false;
    detail::faultState.store(FAULT_STATE::ON);
    return OK;
}

void FaultPlan::Clear() {
    State& state = GetState();
    const std::scoped_lock lock(state.mutex);
    if (state.plan.trace >= 0) close(state.plan.trace);
    state.plan = Plan();
    detail::faultState.store(FAULT_STATE::OFF);
}

Int FaultPlan::GetOperationCount() {
    State& state = GetState();
    const std::scoped_lock lock(state.mutex);
    return state.count;
}

Bool FaultPlan::WasHit() {
    State& state = GetState();
    const std::scoped_lock lock(state.mutex);
    return state.hit;
}

void FaultPlan::SetScope(std::string_view pathPrefix) {
    while (pathPrefix.size() > 1 && pathPrefix.ends_with('/')) pathPrefix.remove_suffix(1);
    State& state = GetState();
    const std::scoped_lock lock(state.mutex);
    state.scope = pathPrefix == "/" ? std::string_view() : pathPrefix;
}

#else

Result<void> FaultPlan::Set(std::string_view) {
    return UnsupportedOperationError::Create("This build has no file faults. Configure it with TALVO_FAULTS=ON.");
}
void FaultPlan::Clear() {}
Int FaultPlan::GetOperationCount() { return 0; }
Bool FaultPlan::WasHit() { return false; }
void FaultPlan::SetScope(std::string_view) {}

#endif

}  // namespace talvo
