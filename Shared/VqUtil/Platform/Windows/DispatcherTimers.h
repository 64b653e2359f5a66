#pragma once

#include <QAbstractEventDispatcher>
#include <QElapsedTimer>
#include <vector>

namespace Velquor::Util {

/// The timers of a thread. No timer fires early; every timer type is served precisely.
/// Thread: the one of the timers. Owner: its dispatcher.
class DispatcherTimers {
public:
    using Info = QAbstractEventDispatcher::TimerInfo;

    DispatcherTimers() { m_clock.start(); }

    void add(const Info& info, QObject* receiver);
    /// False when there is no such timer.
    bool remove(int id);
    bool removeAll(const QObject* receiver);
    [[nodiscard]] QList<Info> of(const QObject* receiver) const;
    /// In milliseconds; -1 when there is no such timer. The same holds for `msUntilNext`.
    [[nodiscard]] int remainingMs(int id);
    [[nodiscard]] int msUntilNext() const;
    /// Sends a timer event for each timer that is due; false when none was. A receiver may change timers, delete itself or run an
    /// event loop.
    bool fire();

private:
    struct Timer {
        Info info;
        QObject* receiver;
        qint64 dueUs;
        bool isFiring; ///< Its receiver has not returned. It is not fired again until then.
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
