#include "TestKit/Platform/ProcessStop.h"

#include <csignal>

namespace Velquor::TestKit {

bool stopProcess(qint64 processId) {
    return ::kill(static_cast<pid_t>(processId), SIGSTOP) == 0;
}

bool continueProcess(qint64 processId) {
    return ::kill(static_cast<pid_t>(processId), SIGCONT) == 0;
}

} // namespace Velquor::TestKit
