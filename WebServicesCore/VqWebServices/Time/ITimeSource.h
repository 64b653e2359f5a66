#pragma once

#include <QtGlobal>

namespace Velquor::OAuth {

/// Both clocks of the machine, read together.
struct ClockReading {
    qint64 time = 0;  ///< of the system clock: milliseconds since 1970-01-01 UTC
    qint64 ticks = 0; ///< milliseconds of the monotonic clock, which cannot be set
};

/// Reads the clocks of the machine for the time service. Thread: any. Owner: shared by the parts of the time service.
class ITimeSource {
public:
    virtual ~ITimeSource() = default;
    [[nodiscard]] virtual ClockReading read() const = 0;
    /// False where the monotonic clock stops while the machine sleeps.
    [[nodiscard]] virtual bool ticksCountSleep() const = 0;
};

} // namespace Velquor::OAuth
