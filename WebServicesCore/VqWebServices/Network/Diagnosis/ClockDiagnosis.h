#pragma once

#include "Network/Diagnosis/OAuthProblem.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QTimeZone>
#include <optional>

class QNetworkReply;

namespace Velquor::WebServices::Internal {

/// The fault of the system's clock; login and cache errors report these numbers.
enum class ClockKind : int { None = 0, WrongTime = 3, WrongDaylightSaving = 4 };

/// The input of the diagnosis, so that it can be computed for any system and time.
struct ClockFacts {
    QByteArray serverDate; ///< the Date header
    QDateTime nowUtc;
    QDateTime nowLocal;       ///< the time of the local clock
    QTimeZone zone;           ///< the system time zone
    bool expectedDst = false; ///< the zone's rules say that daylight-saving time is in effect
    bool systemDst = false;   ///< the local clock reports it
    QString expectedZone;
    QString systemZone;
};

struct ClockProblem {
    ClockKind kind = ClockKind::None;
    QString message;
};

/// Whether the server refused a request because of the time in it. Thread: any.
[[nodiscard]] bool isClockProblem(const OAuthProblem& problem);

/// The fault of the clock, given that the server refused the time. Thread: any.
[[nodiscard]] ClockProblem describeClockProblem(const ClockFacts& facts);

/// The facts of this system now. Thread: any.
[[nodiscard]] ClockFacts currentClockFacts(const QByteArray& serverDate);

/// The fault of the clock when a reply failed because of it; nothing otherwise. Thread: the reply's.
[[nodiscard]] std::optional<ClockProblem> diagnoseClock(const QNetworkReply* reply);

} // namespace Velquor::WebServices::Internal
