#include "VqUtil/Platform/ProcessEnd.h"

#include "VqLog/LoggerWrapper.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <pthread.h>
#include <unistd.h>

namespace Velquor::Util {

namespace {

std::atomic<bool> isWatched{false};
std::atomic<bool> isForked{false};
std::atomic<bool> isWithoutThreads{false};
std::atomic<int> exitStatus{EXIT_SUCCESS};

void keepStatus(int status, void*) {
    exitStatus = status;
}

void becomeChild() {
    if (isWatched && !isWithoutThreads.exchange(true))
        Log::endLog(Log::LogEnd::Now);
    if (!isForked.exchange(true))
        on_exit(keepStatus, nullptr);
}

/// Made when the library is loaded, so that it is destroyed before the libraries below it, and after the host's objects.
///
/// The log library waits for its threads when it is destroyed, and a forked child has none of them. So the child ends here, with
/// its status and with its output written.
class ForkedChildEnd {
public:
    ForkedChildEnd() { pthread_atfork(nullptr, nullptr, &becomeChild); }
    ~ForkedChildEnd() {
        if (!isForked)
            return;
        std::fflush(nullptr);
        _exit(exitStatus);
    }
    ForkedChildEnd(const ForkedChildEnd&) = delete;
    ForkedChildEnd& operator=(const ForkedChildEnd&) = delete;
};

const ForkedChildEnd forkedChildEnd;

} // namespace

void callAtProcessEnd(void (*work)()) {
    isWatched = true;
    on_exit(
        [](int, void* given) {
            if (!isForkedChild())
                reinterpret_cast<void (*)()>(given)();
        },
        reinterpret_cast<void*>(work));
}

bool isForkedChild() {
    return isWithoutThreads;
}

} // namespace Velquor::Util
