#include "Session/State/LoginStateElements.h"

#include "Session/State/LoginStateXml.h"

namespace Velquor::WebServices::Internal {

namespace Names = LoginStateNames;

BasicLoginState readSignIn(const QDomElement& login) {
    BasicLoginState state;
    state.clientId = LoginStateXml::secret(login, Names::clientId);
    state.ntUserName = LoginStateXml::secret(login, Names::ntUserName);
    state.machineAddress = LoginStateXml::secret(login, Names::machineAddress);
    state.loginCookies = LoginStateXml::secret(login.firstChildElement(Names::cookies), Names::loginCookies);
    state.userName = login.attribute(Names::userName);
    state.userId = login.attribute(Names::userId);
    state.ldapDomainKey = login.attribute(Names::ldapDomainKey);
    state.loginDate = LoginStateXml::date(login, Names::loginDate);
    state.sessionExpiryDate = LoginStateXml::date(login, Names::sessionExpiryDate);
    return state;
}

void writeSignIn(QDomElement& login, const BasicLoginState& state, int server) {
    login.setAttribute(Names::server, server);
    LoginStateXml::setText(login, Names::userName, state.userName);
    LoginStateXml::setText(login, Names::userId, state.userId);
    LoginStateXml::setText(login, Names::ldapDomainKey, state.ldapDomainKey);
    LoginStateXml::setDate(login, Names::sessionExpiryDate, state.sessionExpiryDate);
    LoginStateXml::setDate(login, Names::loginDate, state.loginDate);
    LoginStateXml::setSecret(login, Names::clientId, state.clientId);
    LoginStateXml::setSecret(login, Names::ntUserName, state.ntUserName);
    LoginStateXml::setSecret(login, Names::machineAddress, state.machineAddress);
    QDomElement cookies = LoginStateXml::childOrNew(login, Names::cookies);
    LoginStateXml::setSecret(cookies, Names::loginCookies, state.loginCookies);
}

QDomElement findProduct(const QDomElement& login, const QString& productKey) {
    QDomElement product = login.firstChildElement(Names::products).firstChildElement(Names::product);
    while (!product.isNull() && (productKey.isEmpty() || product.attribute(Names::productKey) != productKey))
        product = product.nextSiblingElement(Names::product);
    return product;
}

QDateTime readLogoutDate(const QDomElement& root) {
    return LoginStateXml::date(root.firstChildElement(Names::settings), Names::logoutDate);
}

} // namespace Velquor::WebServices::Internal
