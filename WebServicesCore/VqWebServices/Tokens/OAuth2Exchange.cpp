#include "Tokens/OAuth2Exchange.h"

#include "Tokens/TokenReply.h"
#include "Values/WebServicesConfigurationImp.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>
#include <cmath>

namespace Velquor::WebServices {

namespace {

constexpr int maximumBody = 256 * 1024;
constexpr int maximumDigits = 10;
constexpr double maximumSeconds = 1e10;

QByteArray encoded(const Util::SecretBytes& value) {
    return value.view().toPercentEncoding();
}

// Digits only: a conversion of Qt's would take blanks and signs, and give its default for a fraction or a text.
QByteArray wholeSeconds(const QJsonValue& value) {
    if (value.isDouble()) {
        const double seconds = value.toDouble();
        const bool isWhole = seconds >= 1 && seconds <= maximumSeconds && std::floor(seconds) == seconds;
        return isWhole ? QByteArray::number(static_cast<qint64>(seconds)) : QByteArray();
    }
    const QByteArray digits = value.toString().toUtf8();
    const bool isDecimal = digits.size() <= maximumDigits && digits.toLongLong() > 0
                           && std::all_of(digits.begin(), digits.end(), [](char digit) { return digit >= '0' && digit <= '9'; });
    return isDecimal ? digits : QByteArray();
}

} // namespace

bool hasOAuth2Keys(const WebServicesConfiguration& configuration) {
    const WebServicesConfigurationImp& data = WebServicesConfigurationImp::of(configuration);
    return !data.oauth2ConsumerKey.isEmpty() && !data.oauth2ConsumerSecret.isEmpty();
}

Util::SecretBytes oauth2Form(const WebServicesConfiguration& configuration, const ProductTokens& tokens, Util::ICryptor& cryptor,
                             const QString& tokenType, const QString& scope) {
    const WebServicesConfigurationImp& data = WebServicesConfigurationImp::of(configuration);
    const Util::SecretBytes token = cryptor.decrypt(tokens.accessToken);
    const Util::SecretBytes secret = cryptor.decrypt(tokens.accessTokenSecret);
    if (token.isEmpty() || secret.isEmpty() || !hasOAuth2Keys(configuration))
        return {};
    const auto part = [](const QString& form, const QByteArray& value) { return form.arg(QString::fromLatin1(value)).toLatin1(); };
    QByteArray form = part(QStringLiteral("client_id=%1"), encoded(data.oauth2ConsumerKey.reveal()))
                      + part(QStringLiteral("&client_secret=%1"), encoded(data.oauth2ConsumerSecret.reveal()))
                      + part(QStringLiteral("&oauth1_token=%1"), encoded(token))
                      + part(QStringLiteral("&oauth1_secret=%1"), encoded(secret))
                      + part(QStringLiteral("&token_type=%1"), tokenType.toUtf8().toPercentEncoding());
    if (!scope.isEmpty())
        form += part(QStringLiteral("&scope=%1"), scope.toUtf8().toPercentEncoding());
    return Util::SecretBytes(std::move(form));
}

QNetworkRequest oauth2Request(const QUrl& url) {
    QNetworkRequest request(url);
    request.setRawHeader("Content-Type", "application/x-www-form-urlencoded");
    return request;
}

bool readOAuth2Reply(const QByteArray& body, const QDateTime& now, OAuth2Reply& reply) {
    if (body.size() > maximumBody)
        return false;
    const QJsonObject json = QJsonDocument::fromJson(body).object();
    Util::SecretBytes token = Util::SecretBytes::fromText(json.value(QStringLiteral("access_token")).toString());
    const QByteArray seconds = wholeSeconds(json.value(QStringLiteral("expires_in")));
    const QDateTime expiry = seconds.isEmpty() ? QDateTime() : expiryFrom(seconds, now);
    if (!isUsableToken(token.view()) || !expiry.isValid())
        return false;
    reply.token = std::move(token);
    reply.expiryDate = expiry;
    return true;
}

} // namespace Velquor::WebServices
