#include "VqUtil/Platform/EventHook.h"

#include "VqUtil/Platform/Windows/SystemErrorText.h"
#include "VqUtil/Platform/Windows/WindowsApi.h"

#include <QCoreApplication>
#include <QMutex>
#include <QMutexLocker>
#include <memory>

namespace Velquor::Util::EventHook {

namespace {

struct Unhook {
    using pointer = HHOOK;
    void operator()(HHOOK hook) const { ::UnhookWindowsHookEx(hook); }
};

struct State {
    QMutex mutex;
    std::unique_ptr<HHOOK, Unhook> hook;
};

State& state() {
    static State shared;
    return shared;
}

LRESULT CALLBACK deliverPostedEvents(int code, WPARAM removed, LPARAM message) {
    // A message that was only looked at comes by here once more when it is taken.
    if (code == HC_ACTION && removed == PM_REMOVE && QCoreApplication::instance())
        QCoreApplication::sendPostedEvents();
    return ::CallNextHookEx(nullptr, code, removed, message);
}

} // namespace

bool isInstalled() {
    const QMutexLocker lock(&state().mutex);
    return state().hook != nullptr;
}

bool install(QString* error) {
    const QMutexLocker lock(&state().mutex);
    if (state().hook)
        return true;
    const HHOOK hook = ::SetWindowsHookExW(WH_GETMESSAGE, &deliverPostedEvents, nullptr, ::GetCurrentThreadId());
    const DWORD code = ::GetLastError();
    state().hook.reset(hook);
    if (!hook)
        *error = systemErrorText(code);
    return hook != nullptr;
}

void remove() {
    const QMutexLocker lock(&state().mutex);
    state().hook.reset();
}

} // namespace Velquor::Util::EventHook
