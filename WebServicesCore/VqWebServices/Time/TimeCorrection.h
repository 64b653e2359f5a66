#pragma once

#include "Time/ITimeSource.h"
#include "Time/TimeServiceOptions.h"
#include "VqLog/ILogger.h"

#include <QMutex>
#include <memory>
#include <optional>

namespace Velquor::OAuth {

/// The time of a server's clock and the machine's clocks at the same moment.
struct TimeMeasurement {
    qint64 serverTime = 0; ///< milliseconds since 1970-01-01 UTC
    ClockReading at;
};

/// The corrected time of one moment; all in milliseconds.
struct CorrectedTime {
    qint64 time = 0;      ///< the time of the server's clock
    qint64 offset = 0;    ///< of the server's time from the system time, in whole seconds
    bool applies = false; ///< false when the offset is beyond the limit
};

/// The server's time now. It follows the ticks and not the system clock, so that setting the clock after the measurement has no
/// effect. Thread: any.
[[nodiscard]] CorrectedTime correctTime(const TimeMeasurement& measurement, const ClockReading& now, bool ticksCountSleep,
                                        const TimeServiceOptions& options);

/// The last measurement, written by the worker and read by the signers; logs the corrections.
///
/// Thread: any; a reader sees one complete measurement. Owner: shared by the service and its worker. Errors: none.
class TimeCorrection {
public:
    TimeCorrection(const TimeServiceOptions& options, std::shared_ptr<const ITimeSource> source,
                   std::shared_ptr<Log::ILogger> logger);

    void setMeasurement(const TimeMeasurement& measurement);

    /// Seconds since 1970-01-01 UTC for a time stamp: the system's own without a measurement or beyond the limit.
    [[nodiscard]] qint64 timestamp() const;

private:
    const TimeServiceOptions m_options;
    const std::shared_ptr<const ITimeSource> m_source;
    const std::shared_ptr<Log::ILogger> m_logger;
    mutable QMutex m_mutex;
    std::optional<TimeMeasurement> m_measurement;
};

} // namespace Velquor::OAuth
