#pragma once

#include "Time/ITimeSource.h"

namespace Velquor::OAuth {

/// The clocks of this machine. Thread: any. Errors: none.
class SystemTimeSource final : public ITimeSource {
public:
    [[nodiscard]] ClockReading read() const override;
    [[nodiscard]] bool ticksCountSleep() const override;
};

} // namespace Velquor::OAuth
