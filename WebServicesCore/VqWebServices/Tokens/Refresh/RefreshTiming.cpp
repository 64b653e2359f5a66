#include "Tokens/Refresh/RefreshTiming.h"

namespace Velquor::WebServices::Internal {

int refreshIntervalMs(qint64 secondsToExpiry, int shortestMs) {
    const qint64 untilMargin = secondsToExpiry - refreshMarginSeconds;
    if (untilMargin < 1)
        return shortestMs;
    if (untilMargin < 300)
        return static_cast<int>(untilMargin) * 1000;
    if (untilMargin < 600)
        return 300000;
    return untilMargin < 3600 ? 600000 : 3600000;
}

TimerLateness timerLateness(const QDateTime& expected, const QDateTime& now) {
    return {expected.isValid() ? expected.msecsTo(now) : 0};
}

int refreshRetryMs(int failureCount, bool isClockProblem) {
    // The time service needs a moment to correct the time; then a second try can succeed at once.
    constexpr int quickTries = 2;
    return isClockProblem && failureCount <= quickTries ? 2000 : 60000;
}

} // namespace Velquor::WebServices::Internal
