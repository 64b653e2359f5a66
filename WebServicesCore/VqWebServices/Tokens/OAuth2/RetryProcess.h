#pragma once

#include <VqWebServices/RetrySchedule.h>
#include <functional>
#include <optional>

namespace Velquor::WebServices::Internal {

/// Follows a retry schedule: returns after each failure when to try again. A value without a timer.
///
/// Thread: one at a time. Owner: the refresher.
class RetryProcess {
public:
    /// Nanoseconds of a clock that only goes forward.
    using Clock = std::function<qint64()>;
    explicit RetryProcess(Clock clock);

    void start(const StdUtil::RetrySchedule& schedule);
    void end() { m_active = false; }
    [[nodiscard]] bool isActive() const { return m_active; }

    /// Counts a failure. Returns the milliseconds until the next try, or nothing at the end of the schedule.
    [[nodiscard]] std::optional<qint64> next();

    [[nodiscard]] int attempts() const { return m_attempts; }
    /// Milliseconds since the start.
    [[nodiscard]] qint64 elapsed() const { return millisecondsSince(m_start); }

private:
    [[nodiscard]] qint64 millisecondsSince(qint64 start) const;
    [[nodiscard]] bool isOver() const;

    Clock m_clock;
    StdUtil::RetrySchedule m_schedule;
    size_t m_entry = 0;
    int m_attempts = 0;
    qint64 m_start = 0;
    qint64 m_entryStart = 0;
    bool m_active = false;
};

} // namespace Velquor::WebServices::Internal
