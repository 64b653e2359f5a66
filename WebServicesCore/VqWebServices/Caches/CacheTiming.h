#pragma once

#include "Caches/CacheFailure.h"

#include <QDateTime>

namespace Velquor::WebServices::Internal {

/// When a cache sends a request: pure decisions, the caller passes the time. Thread: any.
namespace CacheTiming {

constexpr qint64 defaultUpdateSeconds = 86400;
constexpr qint64 longestCheckSeconds = 3600;

/// The state of a cache that decides.
struct Facts {
    bool canUpdate = false;   ///< There are a sign-in and a token.
    bool isAvailable = false; ///< There is a value.
    QDateTime updateDate;     ///< When the value was received.
    qint64 updateSeconds = defaultUpdateSeconds;
    qint64 checkSeconds = longestCheckSeconds;
};

enum class Answer {
    CannotUpdate,
    NeverExpires, ///< The update interval is 0.
    NotExpired,
    Expired,
    BadDate, ///< The date of the value is invalid or in the future: the clock was wrong when the value was received.
    NoValue,
};

struct Decision {
    Answer answer = Answer::CannotUpdate;
    qint64 msToExpiry = 0;  ///< For `NotExpired`.
    qint64 nextCheckMs = 0; ///< For `NotExpired`: when to check again.

    [[nodiscard]] bool isDue() const {
        return answer == Answer::Expired || answer == Answer::BadDate || answer == Answer::NoValue;
    }
};

[[nodiscard]] Decision decide(const Facts& facts, const QDateTime& now);

/// How often a cache with this update interval is checked, in seconds.
[[nodiscard]] qint64 checkSeconds(qint64 updateSeconds);

/// The wait before the next try. `earlierFailures`: failed updates in a row before the one that has just failed.
[[nodiscard]] qint64 retryDelayMs(int earlierFailures, qint64 checkSeconds);

/// True for failures that may be over soon: of the network, the server (5xx) or a clock. False for a refusal.
[[nodiscard]] bool isWorthRetrying(const CacheFailure& failure);

/// The date form of HTTP headers, "ddd, dd MMM yyyy HH:mm:ss 'GMT'". Another text gives an invalid date, an invalid date no text.
[[nodiscard]] QDateTime fromHttpDate(const QByteArray& text);
[[nodiscard]] QByteArray toHttpDate(const QDateTime& date);

} // namespace CacheTiming

} // namespace Velquor::WebServices::Internal
