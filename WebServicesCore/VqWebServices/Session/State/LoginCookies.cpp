#include "Session/State/LoginCookies.h"

#include "Values/NetworkCookieImp.h"
#include "VqUtil/General/Utf8.h"
#include "VqUtil/Xml/XmlText.h"

namespace Velquor::WebServices::Internal {

namespace {

const auto cookieName = QStringLiteral("Cookie");

QString flagText(bool value) {
    return value ? QStringLiteral("True") : QStringLiteral("False");
}

void writeCookie(Util::XmlElement& element, const NetworkCookieImp& cookie) {
    element.setAttribute(QStringLiteral("Name"), Util::textFromUtf8(cookie.name));
    element.setAttribute(QStringLiteral("Value"), Util::textFromUtf8(cookie.value));
    element.setAttribute(QStringLiteral("IsSecure"), flagText(cookie.secure));
    element.setAttribute(QStringLiteral("IsHttpOnly"), flagText(cookie.httpOnly));
    const QDateTime expiry = cookie.expiryDate == 0 ? QDateTime() : QDateTime::fromSecsSinceEpoch(cookie.expiryDate, Qt::UTC);
    element.setAttribute(QStringLiteral("ExpiryDate"), expiry.toString(Qt::ISODate));
    element.setAttribute(QStringLiteral("Domain"), cookie.domain);
    element.setAttribute(QStringLiteral("Path"), cookie.path);
}

NetworkCookie readCookie(const Util::XmlElement& element) {
    NetworkCookie cookie;
    NetworkCookieImp& data = NetworkCookieImp::of(cookie);
    data.name = element.attribute(QStringLiteral("Name")).toUtf8();
    data.value = element.attribute(QStringLiteral("Value")).toUtf8();
    data.secure = element.attribute(QStringLiteral("IsSecure")) == QStringLiteral("True");
    data.httpOnly = element.attribute(QStringLiteral("IsHttpOnly")) == QStringLiteral("True");
    const QDateTime expiry = QDateTime::fromString(element.attribute(QStringLiteral("ExpiryDate")), Qt::ISODate);
    data.expiryDate = expiry.isValid() ? expiry.toSecsSinceEpoch() : 0;
    data.domain = element.attribute(QStringLiteral("Domain"));
    data.path = element.attribute(QStringLiteral("Path"));
    return cookie;
}

} // namespace

QByteArray encryptCookies(const NetworkCookieJar& jar, Util::ICryptor& cryptor, Log::ILogger& logger) {
    if (jar.GetCookieCount() == 0) {
        logger.information(QStringLiteral("No cookies to encrypt. No cookies found in the jar."));
        return {};
    }
    Util::XmlText document(QStringLiteral("Cookies"));
    for (int index = 0; index < jar.GetCookieCount(); ++index) {
        const NetworkCookie cookie = jar.GetCookie(index);
        writeCookie(document.root().append(Util::XmlElement(cookieName)), NetworkCookieImp::of(cookie));
    }
    const Util::SecretBytes clear(document.toBytes());
    return cryptor.encrypt(clear.view());
}

NetworkCookieJar decryptCookies(const QByteArray& encrypted, Util::ICryptor& cryptor, Log::ILogger& logger) {
    NetworkCookieJar jar;
    if (encrypted.isEmpty())
        return jar;
    const Util::SecretBytes clear = cryptor.decrypt(encrypted);
    if (clear.isEmpty()) {
        logger.error(QStringLiteral("Failed to decrypt encrypted network cookies"));
        return jar;
    }
    const Util::Result<Util::XmlText> parsed = Util::XmlText::parse(clear.view());
    if (!parsed) {
        logger.error(QStringLiteral("Failed to read decrypted network cookies xml"));
        return jar;
    }
    for (const Util::XmlElement* const element : parsed->root().children(cookieName))
        jar.AddCookie(readCookie(*element));
    return jar;
}

} // namespace Velquor::WebServices::Internal
