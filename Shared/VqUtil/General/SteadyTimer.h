#pragma once

#include <QtGlobal>
#include <chrono>
#include <functional>
#include <utility>

namespace Velquor::Util {

/// Nanoseconds of a clock that only goes forward.
using SteadyClock = std::function<qint64()>;

/// The clock of the system. Any thread.
[[nodiscard]] inline qint64 systemSteadyClock() {
    return qint64(
        std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch()).count());
}

/// Measures time on a steady clock. Thread: one at a time. Owner: any; a plain value.
class SteadyTimer {
public:
    /// Runs from now on.
    explicit SteadyTimer(SteadyClock clock)
        : m_clock(std::move(clock))
        , m_start(m_clock()) {}

    void restart() { m_start = m_clock(); }
    [[nodiscard]] qint64 elapsedMs() const { return (m_clock() - m_start) / 1000000; }

private:
    SteadyClock m_clock;
    qint64 m_start;
};

} // namespace Velquor::Util
