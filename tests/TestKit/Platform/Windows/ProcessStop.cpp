#include "TestKit/Platform/ProcessStop.h"

#include "VqUtil/Platform/Windows/WindowsHandle.h"

namespace Velquor::TestKit {

namespace {

// Has no import library.
bool call(const char* function, qint64 processId) {
    using Function = LONG(NTAPI*)(HANDLE);
    const auto found =
        reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), function)));
    const Util::WindowsHandle process(::OpenProcess(PROCESS_SUSPEND_RESUME, FALSE, static_cast<DWORD>(processId)));
    return found && process.isValid() && found(process.get()) >= 0;
}

} // namespace

bool stopProcess(qint64 processId) {
    return call("NtSuspendProcess", processId);
}

bool continueProcess(qint64 processId) {
    return call("NtResumeProcess", processId);
}

} // namespace Velquor::TestKit
