#pragma once

#include "Caches/CacheFailure.h"

#include <QDateTime>

namespace Velquor::WebServices::Internal {

/// When a cache asks the web service: plain decisions under a clock that is handed in. Thread: any.
namespace CacheTiming {

constexpr qint64 defaultUpdateSeconds = 86400;
constexpr qint64 longestCheckSeconds = 3600;

/// What the decision needs to know of a cache.
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
    BadDate, ///< The date of the value is not valid, or lies in the future: the clock was wrong when it was received.
    NoValue,
};

struct Decision {
    Answer answer = Answer::CannotUpdate;
    qint64 msToExpiry = 0;  ///< For `NotExpired`.
    qint64 nextCheckMs = 0; ///< For `NotExpired`: when to look again.

    [[nodiscard]] bool isDue() const {
        return answer == Answer::Expired || answer == Answer::BadDate || answer == Answer::NoValue;
    }
};

[[nodiscard]] Decision decide(const Facts& facts, const QDateTime& now);

/// How often a cache with this update interval is looked at, in seconds.
[[nodiscard]] qint64 checkSeconds(qint64 updateSeconds);

/// How long to wait before the next try, when so many updates in a row had failed before the one that has just failed.
[[nodiscard]] qint64 retryDelayMs(int earlierFailures, qint64 checkSeconds);

/// True for what may be better soon: faults of the network, of the server (5xx) and of a clock. A refusal is not.
[[nodiscard]] bool isWorthRetrying(const CacheFailure& failure);

/// The date form of HTTP headers, "ddd, dd MMM yyyy HH:mm:ss 'GMT'". Not valid for another text, empty for a date that is not.
[[nodiscard]] QDateTime fromHttpDate(const QByteArray& text);
[[nodiscard]] QByteArray toHttpDate(const QDateTime& date);

} // namespace CacheTiming

} // namespace Velquor::WebServices::Internal
