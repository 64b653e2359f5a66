#include "../SystemEnds.h"

#include <csignal>
#include <cstdlib>
#include <sys/wait.h>
#include <unistd.h>

namespace Velquor::Tests {

namespace {

// Ends with the status of the child, which ends while this process still works.
[[noreturn]] void endWithChild(pid_t child) {
    int state = 0;
    waitpid(child, &state, 0);
    _exit(WIFEXITED(state) ? WEXITSTATUS(state) : 128 + WTERMSIG(state));
}

} // namespace

void continueInChild() {
    if (const pid_t child = fork(); child != 0)
        endWithChild(child);
}

void endAsOnlyThisSystemDoes(const std::string& end, int status) {
    if (end == "quick_exit")
        std::quick_exit(status);
    if (end == "_exit")
        _exit(status);
    if (end == "SIGTERM")
        std::raise(SIGTERM);
    if (end != "fork-exit" && end != "fork-_exit")
        return;
    const pid_t child = fork();
    if (child != 0)
        endWithChild(child);
    if (end == "fork-exit")
        std::exit(status);
    _exit(status);
}

} // namespace Velquor::Tests
