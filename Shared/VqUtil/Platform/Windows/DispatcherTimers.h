#pragma once

#include <QAbstractEventDispatcher>
#include <QElapsedTimer>
#include <vector>

namespace Velquor::Util {

/// The timers of a thread. None fires early; all are as exact as the thread is awake.
/// Thread: that whose timers they are. Owner: its dispatcher.
class DispatcherTimers {
public:
    using Info = QAbstractEventDispatcher::TimerInfo;

    DispatcherTimers() { m_clock.start(); }

    void add(const Info& info, QObject* receiver);
    /// False when there is none.
    bool remove(int id);
    bool removeAll(const QObject* receiver);
    [[nodiscard]] QList<Info> of(const QObject* receiver) const;
    /// Milliseconds; -1 when there is none.
    [[nodiscard]] int remainingMs(int id);
    [[nodiscard]] int msUntilNext() const;
    /// Tells the receivers of those that are due; false when none was. A receiver may change timers, end itself or run an event
    /// loop.
    bool fire();

private:
    struct Timer {
        Info info;
        QObject* receiver;
        qint64 dueUs;
        bool isFiring; ///< Its receiver has not returned.
    };

    [[nodiscard]] qint64 nowUs() const { return m_clock.nsecsElapsed() / 1000; }
    [[nodiscard]] Timer* find(int id);
    [[nodiscard]] int msUntil(const Timer& timer) const;
    template <typename Condition>
    bool removeIf(Condition condition);

    QElapsedTimer m_clock;
    std::vector<Timer> m_timers;
};

} // namespace Velquor::Util
