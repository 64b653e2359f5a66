#include "Tokens/SignedRequest.h"

#include "Values/WebServicesConfigurationImp.h"
#include "VqLog/KnownSecrets.h"

namespace Velquor::WebServices::Internal {

namespace {

// What is sent, the server can send back in any part of its reply.
void keepOutOfLog(const SigningKeys& keys, const OAuth::Parameters& parameters) {
    for (const Util::SecretBytes* const secret : {&keys.consumerSecret, &keys.token, &keys.tokenSecret})
        Log::KnownSecrets::learn(secret->view());
    for (const OAuth::Parameter& parameter : parameters) {
        if (parameter.first == "oauth_session_handle")
            Log::KnownSecrets::learn(parameter.second);
    }
}

} // namespace

OAuth::Credentials SigningKeys::credentials() const {
    return {consumerKey.view(), consumerSecret.view(), token.view(), tokenSecret.view()};
}

SigningKeys consumerKeys(const WebServicesConfiguration& configuration) {
    const WebServicesConfigurationImp& data = WebServicesConfigurationImp::of(configuration);
    SigningKeys keys;
    keys.consumerKey = data.consumerKey.reveal();
    keys.consumerSecret = data.consumerSecret.reveal();
    return keys;
}

bool signGet(const OAuth::IVqOAuthHost& host, const QUrl& url, const SigningKeys& keys, QNetworkRequest& request,
             const OAuth::Parameters& parameters) {
    const QByteArray header = OAuth::VqOAuthWrapper(host).CreateOauthParameterString(
        {"GET", url.toEncoded(), parameters}, keys.credentials(), OAuth::OutputForm::Header);
    if (header.isEmpty())
        return false;
    keepOutOfLog(keys, parameters);
    request.setUrl(url);
    request.setRawHeader("Authorization", "OAuth " + header);
    return true;
}

QUrl signUrl(const OAuth::IVqOAuthHost& host, const QUrl& url, const SigningKeys& keys) {
    const QByteArray encoded = url.toEncoded();
    const QByteArray parameters = OAuth::VqOAuthWrapper(host).CreateOauthParameterString({"GET", encoded, {}}, keys.credentials(),
                                                                                         OAuth::OutputForm::Query);
    return parameters.isEmpty() ? QUrl() : QUrl::fromEncoded(OAuth::withParameters(encoded, parameters));
}

QMap<QString, QByteArray> replyParameters(const QByteArray& body) {
    QMap<QString, QByteArray> parameters;
    const OAuth::Parameters parsed = OAuth::parseFormEncoded(body.trimmed());
    for (const OAuth::Parameter& parameter : parsed) {
        const QString name = QString::fromUtf8(parameter.first);
        if (!parameters.contains(name))
            parameters.insert(name, parameter.second);
    }
    return parameters;
}

} // namespace Velquor::WebServices::Internal
