// Replies of servers, and texts of the host.

#include "FuzzTargets.h"
#include "Network/Diagnosis/BodyMask.h"
#include "Signing/OpenSslCryptoProvider.h"
#include "Signing/VqOAuthHost.h"
#include "Signing/VqOAuthWrapper.h"
#include "Tokens/OAuth2/OAuth2Exchange.h"
#include "Tokens/TokenReply.h"
#include "Values/NetworkCookieJarImp.h"
#include "Values/OAuth2TokenSpecImp.h"
#include "VqLog/NoLogger.h"
#include "VqUtil/Xml/BoundedXml.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace Velquor::Tests {

using namespace WebServices;
using namespace WebServices::Internal;

namespace {

class ClearCryptor : public Util::ICryptor {
public:
    [[nodiscard]] QByteArray encrypt(const QByteArray& clear) override { return clear; }
    [[nodiscard]] Util::SecretBytes decrypt(const QByteArray& text) override { return Util::SecretBytes(QByteArray(text)); }
};

const QDateTime now = QDateTime::fromSecsSinceEpoch(1700000000, Qt::UTC);

} // namespace

void readJsonValues(const QByteArray& input) {
    const QJsonObject json = QJsonDocument::fromJson(input).object();
    NetworkCookieJarImp jar;
    if (jar.fromJson(json)) {
        NetworkCookieJarImp again;
        requireRule(again.fromJson(jar.toJson()) && again.toJson() == jar.toJson(), "a jar is read as it was written");
    }
    OAuth2TokenSpecImp spec;
    if (spec.fromJson(json)) {
        OAuth2TokenSpecImp again;
        requireRule(again.fromJson(spec.toJson()) && again.equals(spec), "a kind of token is read as it was written");
    }
}

void readTokenReplies(const QByteArray& input) {
    ClearCryptor cryptor;
    Log::NoLogger logger;
    QMap<QString, QByteArray> fields;
    for (const OAuth::Parameter& field : OAuth::parseFormEncoded(input))
        fields.insert(QString::fromUtf8(field.first), field.second);
    if (const std::optional<ProductTokens> tokens = readTokenReply(fields, now, cryptor, logger))
        requireRule(isUsableToken(tokens->accessToken) && isUsableToken(tokens->accessTokenSecret), "a token can be sent");
    if (const std::optional<OAuth2Reply> reply = readOAuth2Reply(input, now))
        requireRule(isUsableToken(reply->token.view()) && reply->expiryDate >= now, "an OAuth2 token can be sent");
    (void)Util::parseBoundedXml(input);
}

void readBodyForLog(const QByteArray& input) {
    for (const char* const type : {"application/json", "text/xml", "application/x-www-form-urlencoded", "text/plain"}) {
        const QString line = maskedBody(input, QString::fromLatin1(type));
        requireRule(!line.contains(QLatin1Char('\n')) && !line.contains(QLatin1Char('\r')), "a body is one line of the log");
    }
}

// The first line is the URL, the second a form of parameters, the third the token.
void signTexts(const QByteArray& input) {
    const QList<QByteArray> lines = input.split('\n');
    const OAuth::VqOAuthHost host(std::make_shared<OAuth::OpenSslCryptoProvider>(), nullptr);
    const OAuth::VqOAuthWrapper signer(host);
    const OAuth::RequestToSign request{"GET", lines.value(0), OAuth::parseFormEncoded(lines.value(1))};
    for (const OAuth::OutputForm form : {OAuth::OutputForm::Query, OAuth::OutputForm::Header, OAuth::OutputForm::FormBody}) {
        const QByteArray text = signer.CreateOauthParameterString(request, {"key", "secret", lines.value(2), "token"}, form);
        requireRule(!text.contains('\n') && !text.contains('\r'), "a signature is one line of a request");
    }
    (void)OAuth::withParameters(lines.value(0), OAuth::encodeQuery(request.parameters));
}

} // namespace Velquor::Tests
