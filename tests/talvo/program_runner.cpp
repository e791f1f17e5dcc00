#include "talvo/program_runner.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace talvo {

namespace {

constexpr auto TIME_LIMIT = std::chrono::seconds(60);

struct Pipe {
    Pipe() {
        if (::pipe2(ends, O_CLOEXEC) != 0) std::abort();
    }
    ~Pipe() {
        CloseRead();
        CloseWrite();
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    void CloseRead() { Close(ends[0]); }
    void CloseWrite() { Close(ends[1]); }
    static void Close(int& end) {
        if (end >= 0) ::close(end);
        end = -1;
    }
    int ends[2] = {-1, -1};
};

// Everything that could make a run depend on who runs it is set or taken away.
std::vector<std::string> MakeEnvironment(const ProgramSetup& setup) {
    std::vector<std::string> result{"LC_ALL=C.UTF-8", "TZ=UTC"};
    for (char** entry = environ; *entry; entry++) {
        const std::string_view text = *entry;
        const Bool isOurs =
            text.starts_with("TALVO_") || text.starts_with("LC_") || text.starts_with("TZ=") || text.starts_with("NO_COLOR=");
        if (!isOurs) result.emplace_back(text);
    }
    for (const auto& [name, value] : setup.environment) result.push_back(name + "=" + value);
    return result;
}

std::vector<char*> MakePointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

[[noreturn]] void Become(std::vector<char*>& words, std::vector<char*>& environment, const ProgramSetup& setup, int out,
                         int err) {
    if (!setup.outputPath.empty()) out = ::open(setup.outputPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    const int in = ::open(setup.inputPath.empty() ? "/dev/null" : setup.inputPath.c_str(), O_RDONLY);
    const Bool ready = ::dup2(in, 0) == 0 && ::dup2(out, 1) == 1 && ::dup2(err, 2) == 2 &&
                       (setup.workingFolder.empty() || ::chdir(setup.workingFolder.c_str()) == 0);
    if (ready) ::execve(TALVO_BINARY, words.data(), environment.data());
    ::_exit(127);
}

Bool ReadSome(int& end, std::string& target) {
    std::array<char, 1 << 16> block;
    const ssize_t count = ::read(end, block.data(), block.size());
    if (count > 0) target.append(block.data(), std::size_t(count));
    if (count == 0 || (count < 0 && errno != EINTR)) Pipe::Close(end);
    return count > 0;
}

// Reads both until both have ended or time is up.
void Collect(pid_t process, Pipe& out, Pipe& err, int signalAtFirstLine, ProgramOutcome& outcome) {
    const auto deadline = std::chrono::steady_clock::now() + TIME_LIMIT;
    while (out.ends[0] >= 0 || err.ends[0] >= 0) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        std::array<pollfd, 2> waiting{{{out.ends[0], POLLIN, 0}, {err.ends[0], POLLIN, 0}}};
        if (left.count() <= 0 || ::poll(waiting.data(), waiting.size(), int(left.count())) == 0) {
            outcome.timedOut = true;
            ::kill(process, SIGKILL);
            return;
        }
        if (waiting[0].revents) ReadSome(out.ends[0], outcome.out);
        if (waiting[1].revents) ReadSome(err.ends[0], outcome.err);
        if (signalAtFirstLine && outcome.out.find('\n') != std::string::npos)
            ::kill(process, std::exchange(signalAtFirstLine, 0));
    }
}

}  // namespace

ProgramOutcome RunProgram(const std::vector<std::string>& words, const ProgramSetup& setup) {
    std::vector<std::string> allWords{TALVO_BINARY};
    allWords.insert(allWords.end(), words.begin(), words.end());
    std::vector<std::string> environmentTexts = MakeEnvironment(setup);
    std::vector<char*> wordPointers = MakePointers(allWords);
    std::vector<char*> environment = MakePointers(environmentTexts);
    Pipe out;
    Pipe err;
    const pid_t process = ::fork();
    if (process < 0) std::abort();
    if (process == 0) {
        if (setup.closeOutput) out.CloseRead();
        Become(wordPointers, environment, setup, out.ends[1], err.ends[1]);
    }
    out.CloseWrite();
    err.CloseWrite();
    if (setup.closeOutput) out.CloseRead();
    ProgramOutcome outcome;
    Collect(process, out, err, setup.signalAtFirstLine, outcome);
    int status = 0;
    while (::waitpid(process, &status, 0) < 0 && errno == EINTR) {}
    outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return outcome;
}

}  // namespace talvo
