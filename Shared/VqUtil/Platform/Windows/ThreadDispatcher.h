#pragma once

#include "VqUtil/Platform/Windows/DispatcherTimers.h"

#include <QAbstractEventDispatcher>
#include <atomic>

namespace Velquor::Util {

/// Serves the posted events and timers of a thread. Derived classes implement the wait.
/// Thread: its own; `wakeUp` and `interrupt` on any. Owner: the thread.
class ThreadDispatcher : public QAbstractEventDispatcher {
public:
    bool processEvents(QEventLoop::ProcessEventsFlags flags) override;
    bool hasPendingEvents() override { return m_isWoken; }
    void wakeUp() override;
    void interrupt() override;
    void flush() override {}

    void registerTimer(int id, int intervalMs, Qt::TimerType type, QObject* receiver) override;
    bool unregisterTimer(int id) override { return m_timers.remove(id); }
    bool unregisterTimers(QObject* receiver) override { return m_timers.removeAll(receiver); }
    QList<TimerInfo> registeredTimers(QObject* receiver) const override { return m_timers.of(receiver); }
    int remainingTime(int id) override { return m_timers.remainingMs(id); }

    bool registerEventNotifier(QWinEventNotifier*) override;
    void unregisterEventNotifier(QWinEventNotifier*) override {}
    void registerSocketNotifier(QSocketNotifier*) override;
    void unregisterSocketNotifier(QSocketNotifier*) override {}

protected:
    /// Set when an event was posted after `processEvents` began to deliver.
    [[nodiscard]] std::atomic<bool>& wokenFlag() { return m_isWoken; }
    /// Waits until the flag is set or another event has arrived; without limit when `timeoutMs` is negative. False on a timeout.
    [[nodiscard]] virtual bool wait(int timeoutMs) = 0;
    /// Called by another thread that has set the flag, while `wait` runs or is about to run.
    virtual void endWait() = 0;

private:
    std::atomic<bool> m_isWoken{false};
    std::atomic<bool> m_isWaiting{false};
    std::atomic<bool> m_isInterrupted{false};
    DispatcherTimers m_timers;
};

} // namespace Velquor::Util
