#pragma once

#include <QByteArray>
#include <QString>

namespace Velquor::Log {

/// The secrets that this process has used, which no line of the log may show, whoever wrote them into a text: servers echo tokens
/// in error texts, reason phrases and names of fields.
///
/// Keeps no secret, only digests of its forms, with a key that lives as long as the process. Thread: any. Owner: the process.
namespace KnownSecrets {

/// Shorter ones would hide parts of ordinary words.
constexpr int leastSize = 8;

/// From now on the secret is hidden, as it is and in the forms in which texts carry it: percent-encoded once and twice, Base64,
/// hexadecimal, escaped for JSON and XML. The last 256 secrets are kept.
void learn(const QByteArray& secret);

/// The text with "***" instead of each known secret.
[[nodiscard]] QString hidden(const QString& text);

} // namespace KnownSecrets

} // namespace Velquor::Log
