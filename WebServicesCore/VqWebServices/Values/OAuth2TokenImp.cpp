#include "Values/OAuth2TokenImp.h"

#include "Values/OAuth2TokenSpecImp.h"

namespace Velquor::WebServices {

using namespace Internal;

namespace {
const auto specKey = QStringLiteral("OAuth2TokenSpec");
const auto tokenKey = QStringLiteral("EncryptedOAuth2AccessToken");
} // namespace

QJsonObject OAuth2TokenImp::toJson(Util::ICryptor& cryptor) const {
    const Util::SecretBytes clear = Util::SecretBytes::fromText(QString::fromStdWString(token));
    const QByteArray encrypted = cryptor.encrypt(clear.view());
    if (encrypted.isEmpty() && !clear.isEmpty())
        return {};
    return {{specKey, OAuth2TokenSpecImp::of(spec).toJson()}, {tokenKey, QLatin1String(encrypted)}};
}

bool OAuth2TokenImp::fromJson(const QJsonObject& json, Util::ICryptor& cryptor) {
    const QByteArray encrypted = json.value(tokenKey).toString().toLatin1();
    const Util::SecretBytes clear = cryptor.decrypt(encrypted);
    OAuth2TokenSpec readSpec;
    if ((clear.isEmpty() && !encrypted.isEmpty()) || !OAuth2TokenSpecImp::of(readSpec).fromJson(json.value(specKey).toObject()))
        return false;
    token = clear.toText().toStdWString();
    spec = readSpec;
    return true;
}

} // namespace Velquor::WebServices
