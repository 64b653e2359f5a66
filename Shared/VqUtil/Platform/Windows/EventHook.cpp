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

// A hook serves the thread that has installed it, and goes with that thread.
Hook& hookOfThread() {
    static auto* const hooks = new PerThread<Hook>;
    return hooks->get();
}

LRESULT CALLBACK deliverPostedEvents(int code, WPARAM removed, LPARAM message) {
    // A message that was only looked at comes by here once more when it is taken.
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
