#include "VqUtil/Platform/ProcessEnd.h"

#include "VqLog/LoggerWrapper.h"
#include "VqUtil/Platform/Windows/WindowsApi.h"

#include <atomic>

namespace Velquor::Util {

namespace {

std::atomic<void (*)()> workAtEnd{nullptr};
/// A thread that never runs. The system ends it with the status of the process, which it tells nowhere else.
HANDLE statusThread = nullptr;

int callWork() {
    if (void (*const work)() = workAtEnd.exchange(nullptr))
        work();
    return 0;
}

// The same as the other runtime declares its handlers.
void callWorkWithoutResult() {
    callWork();
}

/// `atexit` of the compiler would add to this library's own list, which is run when the threads are gone.
void addToExit(const wchar_t* runtime, const char* function, void* handler) {
    const HMODULE module = GetModuleHandleW(runtime);
    const auto add =
        module ? reinterpret_cast<void* (*)(void*)>(reinterpret_cast<void*>(GetProcAddress(module, function))) : nullptr;
    if (add)
        add(handler);
}

DWORD WINAPI doNothing(void*) {
    return 0;
}

/// Destroyed when the system takes the library down, before the libraries below it.
class LibraryEnd {
public:
    LibraryEnd() = default;
    ~LibraryEnd() {
        // A later call by a runtime library that is taken down after this one would wait for threads that are gone.
        workAtEnd = nullptr;
        if (!Log::isBeingWritten())
            return;
        // The log library locks when it is destroyed, and the holder of that lock is gone. Windows itself ends a process that
        // waits for one of its own locks in this state.
        DWORD status = 0;
        GetExitCodeThread(statusThread, &status);
        TerminateProcess(GetCurrentProcess(), status);
    }
    LibraryEnd(const LibraryEnd&) = delete;
    LibraryEnd& operator=(const LibraryEnd&) = delete;
};

const LibraryEnd libraryEnd;

} // namespace

void callAtProcessEnd(void (*work)()) {
    HMODULE self = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                       reinterpret_cast<LPCWSTR>(&callAtProcessEnd), &self);
    constexpr SIZE_T smallestStack = 0x10000;
    statusThread =
        CreateThread(nullptr, smallestStack, &doNothing, nullptr, CREATE_SUSPENDED | STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    workAtEnd = work;
    addToExit(L"msvcrt.dll", "_onexit", reinterpret_cast<void*>(&callWork));
    addToExit(L"ucrtbase.dll", "_crt_atexit", reinterpret_cast<void*>(&callWorkWithoutResult));
}

bool isForkedChild() {
    return false;
}

} // namespace Velquor::Util
