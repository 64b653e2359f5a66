#pragma once

#include <QDateTime>
#include <QtGlobal>

namespace Velquor::WebServices::Internal {

/// When to refresh tokens: pure decisions, the caller passes the time. Thread: any.

/// A token is refreshed from so many seconds before its expiry on.
constexpr qint64 refreshMarginSeconds = 300;

/// After how many milliseconds to check a token that expires in so many seconds (negative: has expired): at the margin before its
/// expiry, at the latest after an hour, at the earliest after `shortestMs`.
[[nodiscard]] int refreshIntervalMs(qint64 secondsToExpiry, int shortestMs);

[[nodiscard]] constexpr bool isTimeToRefresh(qint64 secondsToExpiry) {
    return secondsToExpiry <= refreshMarginSeconds;
}

/// How early or late a timer fired.
struct TimerLateness {
    qint64 differenceMs = 0; ///< Negative: early.
    /// Worth a warning: the machine slept, or its clock was changed.
    [[nodiscard]] bool isNotable() const { return differenceMs > toleranceMs || differenceMs < -toleranceMs; }
    [[nodiscard]] bool isEarly() const { return differenceMs < 1; }

    static constexpr qint64 toleranceMs = 2000;
};

[[nodiscard]] TimerLateness timerLateness(const QDateTime& expected, const QDateTime& now);

/// The wait before another try, for both kinds of token: while another refresh is in progress, and after a network fault.
constexpr int busyRetryMs = 5000;
constexpr int networkRetryMs = 60000;

/// The wait after a refused OAuth 1.0 refresh, by the number of failures so far (1 for the first).
[[nodiscard]] int refreshRetryMs(int failureCount, bool isClockProblem);

constexpr int maximumRefreshFailures = 5;

/// A server that is out of order is counted once in this time, whoever asks. A little less than the wait before another try,
/// since timers are not exact.
constexpr qint64 outagePauseMs = networkRetryMs * 9 / 10;

} // namespace Velquor::WebServices::Internal
