#include "VqUtil/Platform/LeanDispatcher.h"

#include "VqUtil/Platform/Windows/DispatcherTimers.h"
#include "VqUtil/Platform/Windows/WindowsHandle.h"

#include <QCoreApplication>
#include <QThread>
#include <QVector>
#include <QWinEventNotifier>
#include <atomic>

namespace Velquor::Util {

namespace {

/// Waits so that the system's calls back to this thread are served, by which Qt's local sockets read and write.
class LeanDispatcher final : public QAbstractEventDispatcher {
public:
    bool processEvents(QEventLoop::ProcessEventsFlags flags) override;
    bool hasPendingEvents() override { return m_isWoken; }
    void wakeUp() override;
    void interrupt() override;
    void flush() override {}

    void registerTimer(int id, int intervalMs, Qt::TimerType type, QObject* receiver) override {
        m_timers.add({id, intervalMs, type}, receiver);
    }
    bool unregisterTimer(int id) override { return m_timers.remove(id); }
    bool unregisterTimers(QObject* receiver) override { return m_timers.removeAll(receiver); }
    QList<TimerInfo> registeredTimers(QObject* receiver) const override { return m_timers.of(receiver); }
    int remainingTime(int id) override { return m_timers.remainingMs(id); }

    bool registerEventNotifier(QWinEventNotifier* notifier) override;
    void unregisterEventNotifier(QWinEventNotifier* notifier) override { m_notifiers.removeAll(notifier); }
    void registerSocketNotifier(QSocketNotifier*) override { qWarning("This thread does not serve network sockets"); }
    void unregisterSocketNotifier(QSocketNotifier*) override {}

private:
    static constexpr int mostNotifiers = MAXIMUM_WAIT_OBJECTS - 1; // beside the waker

    bool wait(int timeoutMs);
    void activate(QWinEventNotifier* notifier) const;

    const WindowsHandle m_waker{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    std::atomic<bool> m_isWoken{false}; ///< Something was posted since the posted events were looked at.
    std::atomic<bool> m_isWaiting{false};
    std::atomic<bool> m_isInterrupted{false};
    DispatcherTimers m_timers;
    QVector<QWinEventNotifier*> m_notifiers;
};

bool LeanDispatcher::processEvents(QEventLoop::ProcessEventsFlags flags) {
    emit awake();
    // Before the look, so that what is posted after it ends the wait.
    m_isWoken = false;
    QCoreApplication::sendPostedEvents();
    const bool hasFired = m_timers.fire();
    // Also one from before this call: who ends an event loop that is just about to wait says so once.
    if (m_isInterrupted.exchange(false))
        return true;
    const bool mayWait = flags.testFlag(QEventLoop::WaitForMoreEvents) && !hasFired;
    if (mayWait)
        emit aboutToBlock();
    const bool hasCome = wait(mayWait ? m_timers.msUntilNext() : 0);
    return hasFired || hasCome;
}

// Without limit when `timeoutMs` is negative. Who wakes it and does not see that it waits has set the mark before it is looked at here.
bool LeanDispatcher::wait(int timeoutMs) {
    const QVector<QWinEventNotifier*> notifiers = m_notifiers;
    HANDLE handles[MAXIMUM_WAIT_OBJECTS] = {m_waker.get()};
    DWORD count = 1;
    for (const QWinEventNotifier* const notifier : notifiers)
        handles[count++] = notifier->handle();
    m_isWaiting = true;
    const DWORD limit = m_isWoken ? 0 : timeoutMs < 0 ? INFINITE : static_cast<DWORD>(timeoutMs);
    const DWORD result = ::WaitForMultipleObjectsEx(count, handles, FALSE, limit, TRUE);
    m_isWaiting = false;
    if (result > WAIT_OBJECT_0 && result < WAIT_OBJECT_0 + count) {
        activate(notifiers.at(static_cast<int>(result - WAIT_OBJECT_0) - 1));
    } else if (result == WAIT_FAILED) {
        ::SleepEx(1, TRUE); // somebody has closed a handle that is still waited for
    }
    return result != WAIT_TIMEOUT;
}

// A call back may have ended it.
void LeanDispatcher::activate(QWinEventNotifier* notifier) const {
    QEvent event(QEvent::WinEventAct);
    if (m_notifiers.contains(notifier))
        QCoreApplication::sendEvent(notifier, &event);
}

// The call to the system is left out for a thread that will look anyway: one that does not wait, or that was called back in its wait,
// which ends then.
void LeanDispatcher::wakeUp() {
    if (!m_isWoken.exchange(true) && m_isWaiting && QThread::currentThread() != thread())
        ::SetEvent(m_waker.get());
}

void LeanDispatcher::interrupt() {
    m_isInterrupted = true;
    wakeUp();
}

bool LeanDispatcher::registerEventNotifier(QWinEventNotifier* notifier) {
    if (m_notifiers.contains(notifier))
        return true;
    if (m_notifiers.size() >= mostNotifiers)
        return false;
    m_notifiers.append(notifier);
    return true;
}

} // namespace

void useLeanDispatcher(QThread& thread) { thread.setEventDispatcher(new LeanDispatcher); }

} // namespace Velquor::Util
