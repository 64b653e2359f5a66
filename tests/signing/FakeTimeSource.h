#pragma once

#include "Time/ITimeSource.h"

#include <atomic>

namespace Velquor::TestKit {

/// Clocks that move only when the test moves them. Thread: any. Owner: shared with the objects under test.
class FakeTimeSource final : public OAuth::ITimeSource {
public:
    explicit FakeTimeSource(qint64 time)
        : m_time(time) {}

    [[nodiscard]] OAuth::ClockReading read() const override { return {m_time, m_ticks}; }
    [[nodiscard]] bool ticksCountSleep() const override { return true; }

    /// Time goes by.
    void pass(qint64 milliseconds) {
        m_time += milliseconds;
        m_ticks += milliseconds;
    }

    /// The user sets the system clock.
    void changeClock(qint64 milliseconds) { m_time += milliseconds; }

private:
    std::atomic<qint64> m_time;
    std::atomic<qint64> m_ticks{1000};
};

} // namespace Velquor::TestKit
