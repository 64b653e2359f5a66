#pragma once

#include "Network/Diagnosis/OAuthProblem.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QTimeZone>
#include <optional>

class QNetworkReply;

namespace Velquor::WebServices::Internal {

/// What is wrong with the system's clock; the numbers are those that the login and cache errors report.
enum class ClockKind : int { None = 0, WrongTime = 3, WrongDaylightSaving = 4 };

/// All that the diagnosis needs to know about clocks, so that it can be worked out for any system at any time.
struct ClockFacts {
    QByteArray serverDate; ///< the Date header
    QDateTime nowUtc;
    QDateTime nowLocal;       ///< what the local clock shows
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

/// What is wrong, given that the server refused the time. Thread: any.
[[nodiscard]] ClockProblem describeClockProblem(const ClockFacts& facts);

/// The facts of this system now. Thread: any.
[[nodiscard]] ClockFacts currentClockFacts(const QByteArray& serverDate);

/// What is wrong with the clock when a reply failed because of it; nothing when it did not. Thread: that of the reply.
[[nodiscard]] std::optional<ClockProblem> diagnoseClock(const QNetworkReply* reply);

} // namespace Velquor::WebServices::Internal
