#pragma once

#include "Session/State/LoginState.h"

#include <QDomElement>
#include <QString>

namespace Velquor::WebServices::Internal {

namespace LoginStateNames {

/// The names of elements and attributes of the login state file that more than one class reads or writes.
inline const auto settings = QStringLiteral("Settings");
inline const auto logoutDate = QStringLiteral("LogoutDate");
inline const auto proxySettings = QStringLiteral("ProxySettings");
inline const auto loginSession = QStringLiteral("LoginSession");
inline const auto products = QStringLiteral("Products");
inline const auto product = QStringLiteral("Product");
inline const auto productKey = QStringLiteral("ProductKey");
inline const auto tokenExpiryDate = QStringLiteral("TokenExpiryDate");
inline const auto oauth2Tokens = QStringLiteral("OAuth2Tokens");
inline const auto oauth2Token = QStringLiteral("OAuth2Token");
inline const auto server = QStringLiteral("Server");
inline const auto userId = QStringLiteral("UserId");
inline const auto userName = QStringLiteral("UserName");
inline const auto ldapDomainKey = QStringLiteral("LdapDomainKey");
inline const auto sessionExpiryDate = QStringLiteral("SessionExpiryDate");
inline const auto loginDate = QStringLiteral("LoginDate");
inline const auto clientId = QStringLiteral("ClientId");
inline const auto ntUserName = QStringLiteral("NTUserName");
inline const auto machineAddress = QStringLiteral("MachineAddress");
inline const auto cookies = QStringLiteral("Cookies");
inline const auto loginCookies = QStringLiteral("LoginCookies");

} // namespace LoginStateNames

/// The sign-in of a "LoginSession" element, unchecked. A null element has no user.
[[nodiscard]] BasicLoginState readSignIn(const QDomElement& login);
/// Writes the sign-in into its element; the products below it stay.
void writeSignIn(QDomElement& login, const BasicLoginState& state, int server);

/// The product of this key below a "LoginSession" element, the first one when there are several; null when there is none.
[[nodiscard]] QDomElement findProduct(const QDomElement& login, const QString& productKey);

/// The date of the last sign-out that the document knows of; invalid when there was none.
[[nodiscard]] QDateTime readLogoutDate(const QDomElement& root);

} // namespace Velquor::WebServices::Internal
