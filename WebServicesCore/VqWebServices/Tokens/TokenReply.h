#pragma once

#include "Tokens/ProductTokens.h"
#include "VqLog/ILogger.h"
#include "VqUtil/Crypto/ICryptor.h"

#include <QMap>
#include <QPair>
#include <QVector>
#include <optional>

namespace Velquor::WebServices::Internal {

/// Reads the form-encoded body of the account server's token reply. Thread: any.

/// A token or secret as a server can send it: not empty, at most 64 KiB, no control characters or blanks.
[[nodiscard]] bool isUsableToken(const QByteArray& token);

/// Now plus the seconds in the text, in whole seconds. Invalid unless the text is a whole number from 0 to a hundred years.
[[nodiscard]] QDateTime expiryFrom(const QByteArray& seconds, const QDateTime& now);

/// Reads and encrypts access token, secret and session handle with their expiry. Nothing when one is missing, unusable or cannot
/// be encrypted; the log names what is missing or unusable.
[[nodiscard]] std::optional<ProductTokens> readTokenReply(const QMap<QString, QByteArray>& reply, const QDateTime& now,
                                                          Util::ICryptor& cryptor, Log::ILogger& logger);

/// The names whose value is false, joined by ", ".
[[nodiscard]] QString missingNames(const QVector<QPair<QString, bool>>& presence);

} // namespace Velquor::WebServices::Internal
