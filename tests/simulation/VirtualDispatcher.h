#pragma once

#include "simulation/World.h"

#include <QAbstractEventDispatcher>
#include <type_traits>

class QWinEventNotifier;

namespace Velquor::Simulation {

/// The event dispatcher of an actor's thread: timers in virtual time, posted events, nested loops. Where another dispatcher would
/// sleep, it gives the baton back. Each timer and each posted call is a step of its own (see VirtualApplication).
///
/// Qt does not call `startingUp` of a dispatcher that was set by hand, so SimThreads has the thread take the baton. Thread: its
/// own; `wakeUp` and `interrupt` the holder of the baton. Owner: Qt, which deletes it with the thread. It serves no sockets.
class VirtualDispatcher final : public QAbstractEventDispatcher {
    Q_OBJECT

public:
    using Interval = std::conditional_t<(QT_VERSION < QT_VERSION_CHECK(6, 0, 0)), int, qint64>;

    VirtualDispatcher(World& world, Actor& actor)
        : m_world(world)
        , m_actor(actor) {}

    bool processEvents(QEventLoop::ProcessEventsFlags flags) override;
    bool hasPendingEvents() { return m_isWoken; } // virtual in Qt 5 only
    void registerSocketNotifier(QSocketNotifier* notifier) override;
    void unregisterSocketNotifier(QSocketNotifier*) override {}
    bool registerEventNotifier(QWinEventNotifier*) { return false; } // virtual on Windows only
    void unregisterEventNotifier(QWinEventNotifier*) {}
    void registerTimer(int timerId, Interval interval, Qt::TimerType timerType, QObject* object) override;
    bool unregisterTimer(int timerId) override;
    bool unregisterTimers(QObject* object) override;
    QList<TimerInfo> registeredTimers(QObject* object) const override;
    int remainingTime(int timerId) override;
    void wakeUp() override { m_isWoken = true; }
    void interrupt() override { m_isInterrupted = m_isWoken = true; }
    void flush() {} // virtual in Qt 5 only
    void closingDown() override { m_world.leave(m_actor); }

    /// Around the delivery of a call. True when it comes from the queue: another one may come while its thread holds a lock of
    /// the system.
    [[nodiscard]] bool beginCall();
    void endCall() { m_isSendingPosted = true; }

private:
    struct Timer {
        int id;
        Interval intervalMs;
        Qt::TimerType type;
        QObject* object;
        qint64 dueUs;
    };
    using Timers = std::vector<Timer>;

    void waitForEvents();
    /// Before a timer or a posted call, unless this thread was chosen a moment ago and has done nothing since.
    void letOthersRun(const QByteArray& what);
    [[nodiscard]] bool fireDueTimers();
    [[nodiscard]] bool fire(int timerId);
    [[nodiscard]] qint64 nextDueUs() const;
    [[nodiscard]] Timers::iterator find(int timerId);

    World& m_world;
    Actor& m_actor;
    Timers m_timers;
    bool m_isWoken = false;
    bool m_isInterrupted = false;
    bool m_isSendingPosted = false;
    bool m_isChosen = false;
};

} // namespace Velquor::Simulation
