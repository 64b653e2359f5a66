#include "VqUtil/Platform/EventHook.h"

#include "VqUtil/General/PerThread.h"
#include "VqUtil/Platform/Windows/SystemErrorText.h"
#include "VqUtil/Platform/Windows/WindowsApi.h"

#include <QCoreApplication>
#include <memory>

namespace Velquor::Util::EventHook {

namespace {

struct Unhook {
    using pointer = HHOOK;
    void operator()(HHOOK hook) const { ::UnhookWindowsHookEx(hook); }
};

using Hook = std::unique_ptr<HHOOK, Unhook>;

// Per thread, since a hook serves the thread that installed it and must be removed when that thread ends.
Hook& hookOfThread() {
    static auto* const hooks = new PerThread<Hook>;
    return hooks->get();
}

LRESULT CALLBACK deliverPostedEvents(int code, WPARAM removed, LPARAM message) {
    // A message that the host only peeks at passes here again when it is removed.
    if (code == HC_ACTION && removed == PM_REMOVE && QCoreApplication::instance())
        QCoreApplication::sendPostedEvents();
    return ::CallNextHookEx(nullptr, code, removed, message);
}

} // namespace

bool isInstalled() {
    return hookOfThread() != nullptr;
}

Result<void> install() {
    if (isInstalled())
        return {};
    const HHOOK hook = ::SetWindowsHookExW(WH_GETMESSAGE, &deliverPostedEvents, nullptr, ::GetCurrentThreadId());
    const DWORD code = ::GetLastError();
    hookOfThread().reset(hook);
    if (!hook)
        return Failure{systemErrorText(code)};
    return {};
}

void remove() {
    hookOfThread().reset();
}

} // namespace Velquor::Util::EventHook
