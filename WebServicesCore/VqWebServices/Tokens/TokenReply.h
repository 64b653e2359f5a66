#pragma once

#include "Tokens/ProductTokens.h"
#include "VqUtil/Crypto/ICryptor.h"

#include <QMap>
#include <QPair>
#include <QVector>
#include <optional>

namespace Velquor::WebServices::Internal {

/// What the account server says in the form-encoded body of a token reply. Thread: any. The caller logs.

/// A token or secret as a server can send it: not empty, at most 64 KiB, no control characters or blanks.
[[nodiscard]] bool isUsableToken(const QByteArray& token);

/// Now plus the seconds of the text, in whole seconds; invalid when the text is no whole number from 0 to a hundred years.
[[nodiscard]] QDateTime expiryFrom(const QByteArray& seconds, const QDateTime& now);

/// Reads and encrypts access token, secret and session handle with their expiry. Nothing when one is missing, unusable or cannot
/// be encrypted.
[[nodiscard]] std::optional<ProductTokens> readTokenReply(const QMap<QString, QByteArray>& reply, const QDateTime& now,
                                                          Util::ICryptor& cryptor);

/// The names of those that are not present, joined by ", ".
[[nodiscard]] QString missingNames(const QVector<QPair<QString, bool>>& presence);

} // namespace Velquor::WebServices::Internal
