#pragma once

#include "Time/ITimeSource.h"
#include "Time/TimeServiceOptions.h"
#include "VqLog/ILogger.h"

#include <QMutex>
#include <memory>
#include <optional>

namespace Velquor::OAuth {

/// What a server's clock showed, and what the machine's clocks did at that moment.
struct TimeMeasurement {
    qint64 serverTime = 0; ///< milliseconds since 1970-01-01 UTC
    ClockReading at;
};

/// What follows from a measurement for one moment; all in milliseconds.
struct CorrectedTime {
    qint64 time = 0;      ///< what the server's clock shows
    qint64 offset = 0;    ///< of the server's time from the system time, in whole seconds
    bool applies = false; ///< false when the offset is beyond the limit
};

/// The server's time now. It follows the ticks and not the system clock, so that setting that clock afterwards does not count
/// twice. Thread: any.
[[nodiscard]] CorrectedTime correctTime(const TimeMeasurement& measurement, const ClockReading& now, bool ticksCountSleep,
                                        const TimeServiceOptions& options);

/// The last measurement, as the worker leaves it for the signers, and what is logged of it.
///
/// Thread: any; a reader sees one measurement as a whole. Owner: shared by the service and its worker. Errors: none.
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
