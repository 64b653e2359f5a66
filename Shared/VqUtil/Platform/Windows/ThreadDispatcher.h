#pragma once

#include "VqUtil/Platform/Windows/DispatcherTimers.h"

#include <QAbstractEventDispatcher>
#include <atomic>

namespace Velquor::Util {

/// Posted events and timers of a thread; how it waits for them is left open.
/// Thread: its own; `wakeUp` and `interrupt` are for all. Owner: the thread.
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
    /// Something was posted since the posted events were looked at.
    [[nodiscard]] std::atomic<bool>& wokenMark() { return m_isWoken; }
    /// Until the mark is set or something else has come; without limit when `timeoutMs` is negative. False when the time is over.
    [[nodiscard]] virtual bool wait(int timeoutMs) = 0;
    /// Called by another thread after it has set the mark, while `wait` runs or is about to.
    virtual void endWait() = 0;

private:
    std::atomic<bool> m_isWoken{false};
    std::atomic<bool> m_isWaiting{false};
    std::atomic<bool> m_isInterrupted{false};
    DispatcherTimers m_timers;
};

} // namespace Velquor::Util
