#pragma once

#include "Time/ITimeSource.h"
#include "Time/TimeServiceOptions.h"

#include <QString>
#include <optional>

namespace Velquor::OAuth {

enum class UpdateReason { None, First, Forced, ClockChanged, PeriodPassed };

/// How ticks and clock went on between two readings, in milliseconds.
struct ClockComparison {
    ClockReading last;
    ClockReading current;

    [[nodiscard]] qint64 elapsedTicks() const { return current.ticks - last.ticks; }
    [[nodiscard]] qint64 elapsedTime() const { return current.time - last.time; }
    [[nodiscard]] qint64 difference() const { return elapsedTime() - elapsedTicks(); }
    [[nodiscard]] QString text() const;
};

/// Whether to ask a time server, why, and what was seen of the clock on the way.
struct UpdateDecision {
    UpdateReason reason = UpdateReason::None;
    std::optional<ClockComparison> change; ///< set when the system clock was changed
    bool ignoresChange = false;            ///< the change is beyond the limit
};

/// How long to wait after so many failures in a row, in milliseconds: three rounds go quickly.
[[nodiscard]] qint64 retryWait(int failures, int urls);

/// How often to look at the clocks, in milliseconds; between quick retries a little slower than these, so that an event finds the
/// wait over.
[[nodiscard]] qint64 checkInterval(bool retriesQuickly);

/// When to ask a time server: what happened so far, and the decision for a moment that is handed in.
///
/// Thread: that of its owner. Owner: the worker. Errors: none.
class UpdateSchedule {
public:
    explicit UpdateSchedule(const TimeServiceOptions& options);

    /// Begins a session: nothing is known.
    void restart();
    /// The next decision is for an update, whatever the wait, and its failures count from the first.
    void demandUpdate();

    [[nodiscard]] UpdateDecision decide(const ClockReading& now) const;

    /// A change of the clock until now has been dealt with.
    void forgetChange(const ClockReading& now) { m_compared = now; }
    void succeeded(const ClockReading& now);
    /// Gives the time until the next query, in milliseconds.
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
