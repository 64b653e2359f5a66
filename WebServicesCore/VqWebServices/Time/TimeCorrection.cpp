#include "Time/TimeCorrection.h"

#include "VqUtil/General/HumanText.h"

#include <QDateTime>
#include <QMutexLocker>
#include <utility>

namespace Velquor::OAuth {

namespace {

constexpr qint64 millisecondsInSecond = 1000;

qint64 wholeSeconds(qint64 milliseconds) {
    return milliseconds / millisecondsInSecond;
}

QString shown(const QDateTime& time) {
    return time.toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"));
}
QString localText(qint64 time) {
    return shown(QDateTime::fromMSecsSinceEpoch(time));
}
QString utcText(qint64 time) {
    return shown(QDateTime::fromMSecsSinceEpoch(time, Qt::UTC));
}

void logMeasured(Log::ILogger& logger, const CorrectedTime& corrected, const ClockReading& now, qint64 limit) {
    const QString by = Util::timeSpanText(qAbs(corrected.offset));
    const QString direction = corrected.offset < 0 ? QStringLiteral("is ahead of") : QStringLiteral("lags behind");
    if (corrected.applies) {
        logger.information(
            QStringLiteral(
                "System time is incorrect by %1. Will correct timestamp by applying this offset. System time %2 server time by %3. System time: %4 (UTC: %5), Server time (UTC): %6")
                .arg(by, direction, by, localText(now.time), utcText(now.time), utcText(corrected.time)));
        return;
    }
    logger.warning(
        QStringLiteral(
            "System time is incorrect by %1. Will not correct timestamp since the offset is more than %2. Web services calls may fail. Fix the system time. System time %3 server time by %4. System time: %5 (UTC: %6), Server time (UTC): %7")
            .arg(by, Util::timeSpanText(limit), direction, by, localText(now.time), utcText(now.time), utcText(corrected.time)));
}

void logApplied(Log::ILogger& logger, const CorrectedTime& corrected, const ClockReading& now, qint64 limit) {
    const QString by = Util::timeSpanText(qAbs(corrected.offset));
    if (corrected.applies) {
        logger.debug(
            QStringLiteral(
                "System time is incorrect by %1. Applying this offset to create correct timestamp. System time: %2 (UTC: %3) Corrected system time: %4 (UTC: %5)")
                .arg(by, localText(now.time), utcText(now.time), localText(corrected.time), utcText(corrected.time)));
        return;
    }
    logger.warning(
        QStringLiteral(
            "System time is incorrect by %1. Not applying this offset to create correct timestamp since the offset is more than %2. Web services calls may fail. Fix the system time. Expected system time: %3 (UTC: %4) Actual system time: %5  System time: %5 (UTC: %6), Server time (UTC): %7")
            .arg(by, Util::timeSpanText(limit), localText(corrected.time), utcText(corrected.time), localText(now.time),
                 utcText(now.time), utcText(corrected.time)));
}

} // namespace

CorrectedTime correctTime(const TimeMeasurement& measurement, const ClockReading& now, bool ticksCountSleep,
                          const TimeServiceOptions& options) {
    const qint64 byTicks = measurement.serverTime + (now.ticks - measurement.at.ticks);
    const qint64 byClock = measurement.serverTime + (now.time - measurement.at.time);
    // Where ticks stop during sleep, a clock that is ahead of the ticks means that the machine slept or that the clock was set
    // forward. Sleep happens every day, and trusting the ticks after it would make every time stamp wrong on a machine with a
    // right clock. So the clock is trusted until the next query answers, a few seconds later. The exception: when the clock now
    // shows the server's time by the ticks, the clock was corrected. A clock that went back was certainly set.
    const bool clockRanAhead = byClock - byTicks > options.changeThreshold;
    const bool clockWasPutRight = qAbs(now.time - byTicks) <= options.changeThreshold;
    const bool mayHaveSlept = !ticksCountSleep && clockRanAhead && !clockWasPutRight;
    CorrectedTime corrected;
    corrected.time = mayHaveSlept ? byClock : byTicks;
    corrected.offset = (wholeSeconds(corrected.time) - wholeSeconds(now.time)) * millisecondsInSecond;
    corrected.applies = qAbs(corrected.offset) <= options.offsetLimit;
    return corrected;
}

TimeCorrection::TimeCorrection(const TimeServiceOptions& options, std::shared_ptr<const ITimeSource> source,
                               std::shared_ptr<Log::ILogger> logger)
    : m_options(options)
    , m_source(std::move(source))
    , m_logger(std::move(logger)) {}

void TimeCorrection::setMeasurement(const TimeMeasurement& measurement) {
    const CorrectedTime corrected = correctTime(measurement, measurement.at, m_source->ticksCountSleep(), m_options);
    logMeasured(*m_logger, corrected, measurement.at, m_options.offsetLimit);
    // A measurement beyond the limit is stored too: it applies as soon as the system clock is close enough.
    const QMutexLocker lock(&m_mutex);
    m_measurement = measurement;
}

qint64 TimeCorrection::timestamp() const {
    const ClockReading now = m_source->read();
    std::optional<TimeMeasurement> measurement;
    {
        const QMutexLocker lock(&m_mutex);
        measurement = m_measurement;
    }
    if (!measurement)
        return wholeSeconds(now.time);
    const CorrectedTime corrected = correctTime(*measurement, now, m_source->ticksCountSleep(), m_options);
    if (corrected.offset != 0)
        logApplied(*m_logger, corrected, now, m_options.offsetLimit);
    return wholeSeconds(corrected.applies ? corrected.time : now.time);
}

} // namespace Velquor::OAuth
