#include "VqUtil/Platform/LeanDispatcher.h"

#include "VqUtil/Platform/Windows/ThreadDispatcher.h"
#include "VqUtil/Platform/Windows/WindowsHandle.h"

#include <QCoreApplication>
#include <QThread>
#include <QVector>
#include <QWinEventNotifier>

namespace Velquor::Util {

namespace {

// Without limit when it is negative.
DWORD limitOf(int timeoutMs) {
    return timeoutMs < 0 ? INFINITE : static_cast<DWORD>(timeoutMs);
}

/// Waits on the mark itself: no object of the system is between the threads.
class PostDispatcher final : public ThreadDispatcher {
protected:
    bool wait(int timeoutMs) override;
    void endWait() override { ::WakeByAddressSingle(&wokenMark()); }
};

bool PostDispatcher::wait(int timeoutMs) {
    static_assert(sizeof wokenMark() == sizeof(bool), "the system compares it");
    bool notWoken = false;
    if (timeoutMs != 0)
        ::WaitOnAddress(&wokenMark(), &notWoken, sizeof notWoken, limitOf(timeoutMs));
    return wokenMark();
}

/// Waits so that the system's calls back to this thread are served, by which Qt's local sockets read and write.
class SocketDispatcher final : public ThreadDispatcher {
public:
    bool registerEventNotifier(QWinEventNotifier* notifier) override;
    void unregisterEventNotifier(QWinEventNotifier* notifier) override { m_notifiers.removeAll(notifier); }

protected:
    bool wait(int timeoutMs) override;
    void endWait() override { ::SetEvent(m_waker.get()); }

private:
    static constexpr int mostNotifiers = MAXIMUM_WAIT_OBJECTS - 1; // beside the waker

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
        ::SleepEx(1, TRUE); // somebody has closed a handle that is still waited for
    }
    return result != WAIT_TIMEOUT;
}

// A call back may have ended it.
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
