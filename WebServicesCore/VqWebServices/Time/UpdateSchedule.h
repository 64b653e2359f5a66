#pragma once

#include "Time/ITimeSource.h"
#include "Time/TimeServiceOptions.h"

#include <QString>
#include <optional>

namespace Velquor::OAuth {

enum class UpdateReason { None, First, Forced, ClockChanged, PeriodPassed };

/// How far ticks and clock advanced between two readings, in milliseconds.
struct ClockComparison {
    ClockReading last;
    ClockReading current;

    [[nodiscard]] qint64 elapsedTicks() const { return current.ticks - last.ticks; }
    [[nodiscard]] qint64 elapsedTime() const { return current.time - last.time; }
    [[nodiscard]] qint64 difference() const { return elapsedTime() - elapsedTicks(); }
    [[nodiscard]] QString text() const;
};

/// Whether and why to query a time server, and a change of the clock.
struct UpdateDecision {
    UpdateReason reason = UpdateReason::None;
    std::optional<ClockComparison> change; ///< set when the system clock was changed
    bool ignoresChange = false;            ///< the change is beyond the limit
};

/// The wait after so many failures in a row, in milliseconds: short in the first three rounds.
[[nodiscard]] qint64 retryWait(int failures, int urls);

/// How often to check the clocks, in milliseconds. During quick retries a little longer than their wait, so that the wait is over
/// when the timer fires.
[[nodiscard]] qint64 checkInterval(bool retriesQuickly);

/// When to query a time server: remembers what has happened and decides for a given moment.
///
/// Thread: its owner's. Owner: the worker. Errors: none.
class UpdateSchedule {
public:
    explicit UpdateSchedule(const TimeServiceOptions& options);

    /// Starts a session: forgets everything.
    void restart();
    /// The next decision is for an update at once; failures are counted from zero.
    void demandUpdate();

    [[nodiscard]] UpdateDecision decide(const ClockReading& now) const;

    /// A change of the clock until now has been handled.
    void forgetChange(const ClockReading& now) { m_compared = now; }
    void succeeded(const ClockReading& now);
    /// Returns the time until the next query, in milliseconds.
    qint64 failed(const ClockReading& now, int urls);
    [[nodiscard]] bool retriesQuickly() const;

private:
    TimeServiceOptions m_options;
    std::optional<ClockReading> m_lastUpdate;
    ClockReading m_compared;
    bool m_demanded = false;
    int m_failures = 0; ///< in the current series of queries
    qint64 m_wait = 0;
    std::optional<qint64> m_retryAt; ///< in ticks; set after a failure
};

} // namespace Velquor::OAuth
