#include "VqUtil/Platform/LeanDispatcher.h"

#include "VqUtil/Platform/Windows/ThreadDispatcher.h"
#include "VqUtil/Platform/Windows/WindowsHandle.h"

#include <QCoreApplication>
#include <QThread>
#include <QVector>
#include <QWinEventNotifier>

namespace Velquor::Util {

namespace {

// A negative time means no limit.
DWORD limitOf(int timeoutMs) {
    return timeoutMs < 0 ? INFINITE : static_cast<DWORD>(timeoutMs);
}

/// Waits on the address of the flag, without a kernel object.
class PostDispatcher final : public ThreadDispatcher {
protected:
    bool wait(int timeoutMs) override;
    void endWait() override { ::WakeByAddressSingle(&wokenFlag()); }
};

bool PostDispatcher::wait(int timeoutMs) {
    static_assert(sizeof wokenFlag() == sizeof(bool), "the system compares it");
    bool notWoken = false;
    if (timeoutMs != 0)
        ::WaitOnAddress(&wokenFlag(), &notWoken, sizeof notWoken, limitOf(timeoutMs));
    return wokenFlag();
}

/// Waits alertably, so that completion routines run on this thread: Qt's local sockets read and write by them.
class SocketDispatcher final : public ThreadDispatcher {
public:
    bool registerEventNotifier(QWinEventNotifier* notifier) override;
    void unregisterEventNotifier(QWinEventNotifier* notifier) override { m_notifiers.removeAll(notifier); }

protected:
    bool wait(int timeoutMs) override;
    void endWait() override { ::SetEvent(m_waker.get()); }

private:
    static constexpr int mostNotifiers = MAXIMUM_WAIT_OBJECTS - 1; // one for the waker

    void activate(QWinEventNotifier* notifier) const;

    const WindowsHandle m_waker{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    QVector<QWinEventNotifier*> m_notifiers;
};

bool SocketDispatcher::wait(int timeoutMs) {
    const QVector<QWinEventNotifier*> notifiers = m_notifiers;
    HANDLE handles[MAXIMUM_WAIT_OBJECTS] = {m_waker.get()};
    DWORD count = 1;
    for (const QWinEventNotifier* const notifier : notifiers)
        handles[count++] = notifier->handle();
    const DWORD result = ::WaitForMultipleObjectsEx(count, handles, FALSE, limitOf(timeoutMs), TRUE);
    if (result > WAIT_OBJECT_0 && result < WAIT_OBJECT_0 + count) {
        activate(notifiers.at(static_cast<int>(result - WAIT_OBJECT_0) - 1));
    } else if (result == WAIT_FAILED) {
        ::SleepEx(1, TRUE); // a handle was closed while it was still registered: do not spin
    }
    return result != WAIT_TIMEOUT;
}

// A completion routine that ran during the wait may have removed the notifier.
void SocketDispatcher::activate(QWinEventNotifier* notifier) const {
    QEvent event(QEvent::WinEventAct);
    if (m_notifiers.contains(notifier))
        QCoreApplication::sendEvent(notifier, &event);
}

bool SocketDispatcher::registerEventNotifier(QWinEventNotifier* notifier) {
    if (m_notifiers.contains(notifier))
        return true;
    if (m_notifiers.size() >= mostNotifiers)
        return false;
    m_notifiers.append(notifier);
    return true;
}

} // namespace

void useLeanDispatcher(QThread& thread, ThreadServes what) {
    if (what == ThreadServes::LocalSocketsToo)
        thread.setEventDispatcher(new SocketDispatcher);
    else
        thread.setEventDispatcher(new PostDispatcher);
}

} // namespace Velquor::Util
