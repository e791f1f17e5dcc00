#include "tests/sweep/child.h"

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>

namespace talvo::sweep {

namespace {

constexpr auto PATIENCE = std::chrono::seconds(60);

[[noreturn]] void Give(const char* what) {
    std::perror(what);
    std::abort();
}

/// All that comes until the writer ends; false if that takes too long.
Bool ReadAll(int pipe, std::string& text) {
    const auto end = std::chrono::steady_clock::now() + PATIENCE;
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now()).count();
        pollfd waiting{pipe, POLLIN, 0};
        if (left <= 0 || poll(&waiting, 1, int(left)) == 0) return false;
        char buffer[4096];
        const ssize_t count = read(pipe, buffer, sizeof(buffer));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return true;
        text.append(buffer, std::size_t(count));
    }
}

std::vector<std::string> SplitLines(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = text.find('\n', start);
        if (end == std::string::npos) break;  // cut off with its writer
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

}  // namespace

void Teller::Tell(const std::string& line) const {
    const std::string text = line + "\n";
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t count = write(_pipe, text.data() + done, text.size() - done);
        if (count <= 0) std::_Exit(99);
        done += std::size_t(count);
    }
}

ChildEnd RunChild(FunctionRef<void(const Teller&)> work) {
    int ends[2];
    if (pipe(ends) != 0) Give("pipe");
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) Give("fork");
    if (child == 0) {
        close(ends[0]);
        const Teller teller(ends[1]);
        try {
            work(teller);
        } catch (const std::exception& error) {
            teller.Tell(std::string("! it threw ") + error.what());
            std::_Exit(98);
        }
        std::_Exit(0);
    }
    close(ends[1]);
    std::string text;
    const Bool inTime = ReadAll(ends[0], text);
    if (!inTime) kill(child, SIGABRT);
    close(ends[0]);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {}
    ChildEnd end;
    end.lines = SplitLines(text);
    end.wasKilled = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    end.hasFinished = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    end.how = !inTime               ? "it hung"
              : WIFSIGNALED(status) ? "it ended by signal " + std::to_string(WTERMSIG(status))
                                    : "it ended with exit code " + std::to_string(WEXITSTATUS(status));
    return end;
}

}  // namespace talvo::sweep
