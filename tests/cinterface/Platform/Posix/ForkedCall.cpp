#include "../ForkedCall.h"

#include <sys/wait.h>
#include <unistd.h>

int resultInForkedChild(const std::function<int()>& call, int) {
    const pid_t child = fork();
    if (child == 0) {
        // A call that hangs must not keep the test.
        alarm(20);
        _exit(call());
    }
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
