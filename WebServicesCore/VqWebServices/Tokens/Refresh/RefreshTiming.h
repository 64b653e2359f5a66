#pragma once

#include <QDateTime>
#include <QtGlobal>

namespace Velquor::WebServices::Internal {

/// When tokens are refreshed: decisions without a clock of their own. Thread: any.

/// Seconds before its expiry from which on a token is refreshed.
constexpr qint64 refreshMarginSeconds = 300;

/// After how many milliseconds to look at a token again that expires in so many seconds (negative: expired already): at the
/// margin before its expiry, at the latest after an hour, at the earliest after `shortestMs`.
[[nodiscard]] int refreshIntervalMs(qint64 secondsToExpiry, int shortestMs);

[[nodiscard]] constexpr bool isTimeToRefresh(qint64 secondsToExpiry) {
    return secondsToExpiry <= refreshMarginSeconds;
}

/// How far a timer's message was off.
struct TimerLateness {
    qint64 differenceMs = 0; ///< Negative: early.
    /// Worth a warning: the machine slept, or its clock was changed.
    [[nodiscard]] bool isNotable() const { return differenceMs > toleranceMs || differenceMs < -toleranceMs; }
    [[nodiscard]] bool isEarly() const { return differenceMs < 1; }

    static constexpr qint64 toleranceMs = 2000;
};

[[nodiscard]] TimerLateness timerLateness(const QDateTime& expected, const QDateTime& now);

/// The wait for another try, of both kinds of token: while another refresh is at work, and after a fault of the network.
constexpr int busyRetryMs = 5000;
constexpr int networkRetryMs = 60000;

/// The wait after an OAuth 1.0 refresh that the server refused, by the count of failures so far (1 for the first).
[[nodiscard]] int refreshRetryMs(int failureCount, bool isClockProblem);

constexpr int maximumRefreshFailures = 5;

} // namespace Velquor::WebServices::Internal
