#include "Session/State/ProxySettingsXml.h"

#include "Session/State/LoginStateElements.h"
#include "Session/State/LoginStateXml.h"

#include <QVector>
#include <algorithm>

namespace Velquor::WebServices::Internal::ProxySettingsXml {

namespace Names = LoginStateNames;

namespace {

constexpr int maximumTextLength = 513;
const auto typeName = QStringLiteral("Type");
const auto hostName = QStringLiteral("Host");
const auto portName = QStringLiteral("Port");
const auto userName = QStringLiteral("User");
const auto passwordName = QStringLiteral("Password");

bool isUnstorable(uint character) {
    return !LoginStateXml::isStorable(character) || character == QChar::ReplacementCharacter;
}

bool isStorable(const QString& text) {
    const QVector<uint> characters = text.toUcs4();
    return text.size() <= maximumTextLength && std::none_of(characters.begin(), characters.end(), isUnstorable);
}

bool isProxyType(int type) {
    return type == QNetworkProxy::HttpProxy || type == QNetworkProxy::HttpCachingProxy || type == QNetworkProxy::Socks5Proxy;
}

} // namespace

bool isValid(const QString& host, int port, const QString& user) {
    return port > 0 && port <= 65535 && !host.isEmpty() && isStorable(host) && isStorable(user);
}

std::optional<QNetworkProxy> read(const QDomElement& root, Util::ICryptor& cryptor, QNetworkProxy proxy) {
    const QDomElement settings = root.firstChildElement(Names::proxySettings);
    const int type = LoginStateXml::number(settings, typeName, QNetworkProxy::DefaultProxy);
    const int port = LoginStateXml::number(settings, portName, 0);
    const QString host = settings.attribute(hostName);
    const QString user = settings.attribute(userName);
    if (!isProxyType(type) || !isValid(host, port, user))
        return {};
    proxy.setType(static_cast<QNetworkProxy::ProxyType>(type));
    proxy.setHostName(host);
    proxy.setPort(static_cast<quint16>(port));
    proxy.setUser(user);
    proxy.setPassword(cryptor.decrypt(LoginStateXml::secret(settings, passwordName)).toText());
    return proxy;
}

void write(QDomElement& root, const QNetworkProxy& proxy, const QByteArray& password) {
    QDomElement settings = LoginStateXml::childOrNew(root, Names::proxySettings);
    settings.setAttribute(typeName, static_cast<int>(proxy.type()));
    settings.setAttribute(hostName, proxy.hostName());
    settings.setAttribute(portName, static_cast<int>(proxy.port()));
    settings.setAttribute(userName, proxy.user());
    LoginStateXml::setSecret(settings, passwordName, password);
}

void remove(QDomElement& root) {
    LoginStateXml::removeChildren(root, Names::proxySettings);
}

bool isIn(const QDomElement& root) {
    return !root.firstChildElement(Names::proxySettings).isNull();
}

} // namespace Velquor::WebServices::Internal::ProxySettingsXml
