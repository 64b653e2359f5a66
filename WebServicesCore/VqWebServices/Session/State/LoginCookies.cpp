#include "Session/State/LoginCookies.h"

#include "Session/State/LoginStateXml.h"
#include "Values/NetworkCookieImp.h"
#include "VqUtil/Xml/BoundedXml.h"

namespace Velquor::WebServices::Internal {

namespace {

void writeCookie(QDomElement& element, const NetworkCookieImp& cookie) {
    element.setAttribute(QStringLiteral("Name"), QString::fromUtf8(cookie.name));
    element.setAttribute(QStringLiteral("Value"), QString::fromUtf8(cookie.value));
    LoginStateXml::setFlag(element, QStringLiteral("IsSecure"), cookie.secure);
    LoginStateXml::setFlag(element, QStringLiteral("IsHttpOnly"), cookie.httpOnly);
    const QDateTime expiry = cookie.expiryDate == 0 ? QDateTime() : QDateTime::fromSecsSinceEpoch(cookie.expiryDate, Qt::UTC);
    LoginStateXml::setDate(element, QStringLiteral("ExpiryDate"), expiry);
    element.setAttribute(QStringLiteral("Domain"), cookie.domain);
    element.setAttribute(QStringLiteral("Path"), cookie.path);
}

NetworkCookie readCookie(const QDomElement& element) {
    NetworkCookie cookie;
    NetworkCookieImp& data = NetworkCookieImp::of(cookie);
    data.name = element.attribute(QStringLiteral("Name")).toUtf8();
    data.value = element.attribute(QStringLiteral("Value")).toUtf8();
    data.secure = element.attribute(QStringLiteral("IsSecure")) == QStringLiteral("True");
    data.httpOnly = element.attribute(QStringLiteral("IsHttpOnly")) == QStringLiteral("True");
    const QDateTime expiry = LoginStateXml::date(element, QStringLiteral("ExpiryDate"));
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
    QDomDocument document;
    QDomElement root = document.createElement(QStringLiteral("Cookies"));
    document.appendChild(root);
    for (int index = 0; index < jar.GetCookieCount(); ++index) {
        QDomElement element = document.createElement(QStringLiteral("Cookie"));
        const NetworkCookie cookie = jar.GetCookie(index);
        writeCookie(element, NetworkCookieImp::of(cookie));
        root.appendChild(element);
    }
    const Util::SecretBytes clear(document.toByteArray(-1));
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
    const Util::XmlResult parsed = Util::parseBoundedXml(clear.view());
    if (!parsed.isValid()) {
        logger.error(QStringLiteral("Failed to read decrypted network cookies xml"));
        return jar;
    }
    const auto name = QStringLiteral("Cookie");
    QDomElement element = parsed.document.documentElement().firstChildElement(name);
    for (; !element.isNull(); element = element.nextSiblingElement(name))
        jar.AddCookie(readCookie(element));
    return jar;
}

} // namespace Velquor::WebServices::Internal
