#include "Time/SystemTimeSource.h"

#include <QDateTime>
#include <QElapsedTimer>

namespace Velquor::OAuth {

ClockReading SystemTimeSource::read() const {
    QElapsedTimer ticks;
    ticks.start();
    return {QDateTime::currentMSecsSinceEpoch(), ticks.msecsSinceReference()};
}

bool SystemTimeSource::ticksCountSleep() const {
    // The performance counter continues during sleep; the monotonic clock of Linux does not.
    return QElapsedTimer::clockType() == QElapsedTimer::PerformanceCounter;
}

} // namespace Velquor::OAuth
