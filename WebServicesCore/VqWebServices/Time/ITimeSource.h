#pragma once

#include <QtGlobal>

namespace Velquor::OAuth {

/// Both clocks of the machine, read together.
struct ClockReading {
    qint64 time = 0;  ///< what the system clock shows: milliseconds since 1970-01-01 UTC
    qint64 ticks = 0; ///< milliseconds of the monotonic clock, which nobody sets
};

/// Where the time service reads the clocks of the machine. Thread: any. Owner: shared by the parts of the time service.
class ITimeSource {
public:
    virtual ~ITimeSource() = default;
    [[nodiscard]] virtual ClockReading read() const = 0;
    /// False where the monotonic clock stands still while the machine sleeps.
    [[nodiscard]] virtual bool ticksCountSleep() const = 0;
};

} // namespace Velquor::OAuth
