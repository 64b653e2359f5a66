#pragma once

#include "Signing/IVqOAuthHost.h"
#include "Signing/VqOAuthWrapper.h"
#include "VqUtil/Crypto/SecretBytes.h"

#include <QNetworkRequest>
#include <QUrl>
#include <VqWebServices/WebServicesConfiguration.h>

namespace Velquor::WebServices::Internal {

/// The keys of one signature in clear text, kept for one call only.
struct SigningKeys {
    Util::SecretBytes consumerKey;
    Util::SecretBytes consumerSecret;
    Util::SecretBytes token;
    Util::SecretBytes tokenSecret;

    [[nodiscard]] OAuth::Credentials credentials() const;
};

/// The consumer key and secret of a configuration, without a token.
[[nodiscard]] SigningKeys consumerKeys(const WebServicesConfiguration& configuration);

/// A GET of the URL with an "Authorization" header. `parameters` are protocol extensions in addition to the URL's query.
/// False when it cannot be signed; the caller logs.
[[nodiscard]] bool signGet(const OAuth::IVqOAuthHost& host, const QUrl& url, const SigningKeys& keys, QNetworkRequest& request,
                           const OAuth::Parameters& parameters = {});

/// The URL with the OAuth parameters in its query; empty when it cannot be signed.
[[nodiscard]] QUrl signUrl(const OAuth::IVqOAuthHost& host, const QUrl& url, const SigningKeys& keys);

/// The form-encoded parameters of a reply's body by name; the first of a repeated name counts.
[[nodiscard]] QMap<QString, QByteArray> replyParameters(const QByteArray& body);

} // namespace Velquor::WebServices::Internal
