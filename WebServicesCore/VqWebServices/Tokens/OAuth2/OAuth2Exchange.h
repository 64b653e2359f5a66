#pragma once

#include "Tokens/ProductTokens.h"
#include "VqUtil/Crypto/ICryptor.h"
#include "VqUtil/Crypto/SecretBytes.h"

#include <QDateTime>
#include <QNetworkRequest>
#include <QUrl>
#include <VqWebServices/WebServicesConfiguration.h>
#include <optional>

namespace Velquor::WebServices::Internal {

/// Request and reply of the exchange of an OAuth 1.0 access token for an OAuth2 token. Thread: any. Errors: results; the caller
/// logs.

/// True when the configuration has the key and the secret of an OAuth2 client.
[[nodiscard]] bool hasOAuth2Keys(const WebServicesConfiguration& configuration);

/// The form that requests a token, with percent-encoded values; empty when the product's tokens cannot be decrypted. `tokenType`
/// is the server's word for the type, or empty. It holds secrets in clear text: do not keep it.
[[nodiscard]] Util::SecretBytes oauth2Form(const WebServicesConfiguration& configuration, const ProductTokens& tokens,
                                           Util::ICryptor& cryptor, const QString& tokenType, const QString& scope);

/// A request for such a form.
[[nodiscard]] QNetworkRequest oauth2Request(const QUrl& url);

/// The token of a reply.
struct OAuth2Reply {
    Util::SecretBytes token;
    QDateTime expiryDate;
};

/// Reads the JSON of a reply: a usable token and a lifetime in seconds, as a number or in decimal digits, from a second to a
/// hundred years; an hour when the reply names none. Nothing for everything else, and for a token of a type that no service takes
/// alone.
[[nodiscard]] std::optional<OAuth2Reply> readOAuth2Reply(const QByteArray& body, const QDateTime& now);

} // namespace Velquor::WebServices::Internal
