#pragma once

#include "VqLog/ILogger.h"

#include <QByteArray>
#include <QtGlobal>
#include <optional>

namespace Velquor::OAuth {

/// The maximum of a time server's answer that is read; a time is far shorter.
constexpr int maximalTimeBody = 4096;

/// Seconds since 1970-01-01 UTC from a text that is such a number. Nothing for another text, or for an implausible
/// time: milliseconds, zero, before 2020 or after 2099. Thread: any.
[[nodiscard]] std::optional<qint64> unixTimeInBody(const QByteArray& body);

/// The same from an ISO date with a time zone; without a zone the time would be a guess. Thread: any.
[[nodiscard]] std::optional<qint64> isoTimeInBody(const QByteArray& body);

/// The same from a Date header in its one form, "Tue, 14 Nov 2023 22:13:20 GMT". Thread: any.
[[nodiscard]] std::optional<qint64> timeInDateHeader(const QByteArray& header);

/// The time in a server's answer: from the body, else from the header. Logs where it was found. Thread: any.
[[nodiscard]] std::optional<qint64> readServerTime(const QByteArray& body, const QByteArray& dateHeader, Log::ILogger& logger);

} // namespace Velquor::OAuth
