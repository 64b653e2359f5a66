#pragma once

#include "HttpReply.h"

#include <QMap>
#include <optional>

namespace Vqws {

// What a reply says, by the rules of the library. Thread: any.

/// Status 200, and all of the body is here.
[[nodiscard]] bool isFine(const HttpReply& reply);
/// Status 4xx.
[[nodiscard]] bool isRefusal(const HttpReply& reply);
/// "status 401 (nonce_used)", "no reply: ..."
[[nodiscard]] QString whatCame(const HttpReply& reply);
/// A refusal whose reason is the clock.
[[nodiscard]] bool namesTheClock(const HttpReply& reply);

using FormValues = QMap<QByteArray, QByteArray>;
[[nodiscard]] FormValues formValues(const QByteArray& body);
/// The first names without a value, separated by ", ".
[[nodiscard]] QString missingNames(const FormValues& values, const QVector<QByteArray>& names);

[[nodiscard]] bool isProfile(const QByteArray& body);
[[nodiscard]] bool isEntitlements(const QByteArray& body);
[[nodiscard]] bool isQuota(const QByteArray& body);

/// What is wrong with the reply of OAuth2; empty when nothing is.
[[nodiscard]] QString faultOfOAuth2Reply(const QByteArray& body);

/// Seconds since 1970, from the body or the header "Date".
[[nodiscard]] std::optional<qint64> timeIn(const HttpReply& reply);

} // namespace Vqws
