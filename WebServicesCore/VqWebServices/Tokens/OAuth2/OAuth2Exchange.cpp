#include "Tokens/OAuth2/OAuth2Exchange.h"

#include "Tokens/TokenReply.h"
#include "Values/WebServicesConfigurationImp.h"
#include "VqLog/KnownSecrets.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>
#include <vector>

namespace Velquor::WebServices::Internal {

namespace {

constexpr int maximumBody = 256 * 1024;
constexpr int maximumDigits = 10;
constexpr double maximumSeconds = 1e10;
// The lifetime of a token whose reply names none. A token that ends earlier is renewed when a service has refused it.
constexpr auto defaultSeconds = "3600";

/// A form parameter: its text with a place for the value, and the value in clear.
struct FormPart {
    const char* text;
    Util::SecretBytes value;
};

constexpr int placeHolderSize = 2;
constexpr int longestEscape = 3;

bool isUnreserved(unsigned char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9') || byte == '-'
           || byte == '.' || byte == '_' || byte == '~';
}

void appendEncoded(QByteArray& form, const Util::SecretBytes& value) {
    static const char digits[] = "0123456789ABCDEF";
    for (const char character : value.view()) {
        const auto byte = static_cast<unsigned char>(character);
        if (isUnreserved(byte))
            form += character;
        else
            form.append('%').append(digits[byte >> 4]).append(digits[byte & 0xf]);
    }
}

// Reserved once, since a buffer that grows would leave copies of the secrets in freed memory.
Util::SecretBytes encodedForm(const std::vector<FormPart>& parts) {
    int size = 0;
    for (const FormPart& part : parts)
        size += static_cast<int>(qstrlen(part.text)) + longestEscape * part.value.size();
    QByteArray form;
    form.reserve(size);
    for (const FormPart& part : parts) {
        form.append(part.text, static_cast<int>(qstrlen(part.text)) - placeHolderSize);
        appendEncoded(form, part.value);
    }
    return Util::SecretBytes(std::move(form));
}

bool isNumber(const QByteArray& text) {
    return !text.isEmpty() && std::all_of(text.begin(), text.end(), [](char digit) { return digit >= '0' && digit <= '9'; });
}

// Digits only: Qt's conversion accepts blanks and signs, and returns its default for a fraction or a text. A fraction is cut off.
QByteArray wholeSeconds(const QJsonValue& value) {
    if (value.isUndefined() || value.isNull())
        return defaultSeconds;
    if (value.isDouble()) {
        const double seconds = value.toDouble();
        return seconds >= 1 && seconds <= maximumSeconds ? QByteArray::number(static_cast<qint64>(seconds)) : QByteArray();
    }
    const QByteArray text = value.toString().toUtf8();
    const int point = text.indexOf('.');
    const QByteArray digits = point < 0 ? text : text.left(point);
    const bool isDecimal = isNumber(digits) && (point < 0 || isNumber(text.mid(point + 1)));
    return isDecimal && digits.size() <= maximumDigits && digits.toLongLong() > 0 ? digits : QByteArray();
}

// A token of another type is of no use without what belongs to it, for instance a key. The server may also name the type that was
// asked for.
bool isUnderstoodType(const QJsonValue& type) {
    if (type.isUndefined() || type.isNull())
        return true;
    const QString name = type.toString().toLower();
    return name == QLatin1String("bearer") || name == QLatin1String("jwt") || name == QLatin1String("rt");
}

} // namespace

bool hasOAuth2Keys(const WebServicesConfiguration& configuration) {
    const WebServicesConfigurationImp& data = WebServicesConfigurationImp::of(configuration);
    return !data.oauth2ConsumerKey.isEmpty() && !data.oauth2ConsumerSecret.isEmpty();
}

Util::SecretBytes oauth2Form(const WebServicesConfiguration& configuration, const ProductTokens& tokens, Util::ICryptor& cryptor,
                             const QString& tokenType, const QString& scope) {
    const WebServicesConfigurationImp& data = WebServicesConfigurationImp::of(configuration);
    std::vector<FormPart> parts;
    parts.push_back({"client_id=%1", data.oauth2ConsumerKey.reveal()});
    parts.push_back({"&client_secret=%1", data.oauth2ConsumerSecret.reveal()});
    parts.push_back({"&oauth1_token=%1", cryptor.decrypt(tokens.accessToken)});
    parts.push_back({"&oauth1_secret=%1", cryptor.decrypt(tokens.accessTokenSecret)});
    const auto isMissing = [](const FormPart& part) { return part.value.isEmpty(); };
    if (std::any_of(parts.begin(), parts.end(), isMissing))
        return {};
    // What is sent, the server can send back in any part of its reply.
    std::for_each(parts.begin() + 1, parts.end(), [](const FormPart& part) { Log::KnownSecrets::learn(part.value.view()); });
    parts.push_back({"&token_type=%1", Util::SecretBytes::fromText(tokenType)});
    if (!scope.isEmpty())
        parts.push_back({"&scope=%1", Util::SecretBytes::fromText(scope)});
    return encodedForm(parts);
}

QNetworkRequest oauth2Request(const QUrl& url) {
    QNetworkRequest request(url);
    request.setRawHeader("Content-Type", "application/x-www-form-urlencoded");
    return request;
}

std::optional<OAuth2Reply> readOAuth2Reply(const QByteArray& body, const QDateTime& now) {
    if (body.size() > maximumBody)
        return {};
    const QJsonObject json = QJsonDocument::fromJson(body).object();
    Util::SecretBytes token = Util::SecretBytes::fromText(json.value(QStringLiteral("access_token")).toString());
    Log::KnownSecrets::learn(token.view());
    const QByteArray seconds = wholeSeconds(json.value(QStringLiteral("expires_in")));
    const QDateTime expiry = seconds.isEmpty() ? QDateTime() : expiryFrom(seconds, now);
    if (!isUsableToken(token.view()) || !expiry.isValid() || !isUnderstoodType(json.value(QStringLiteral("token_type"))))
        return {};
    return OAuth2Reply{std::move(token), expiry};
}

} // namespace Velquor::WebServices::Internal
