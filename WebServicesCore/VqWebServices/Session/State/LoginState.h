#pragma once

#include "Tokens/OAuth2TokenData.h"
#include "Tokens/ProductTokens.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QVector>
#include <optional>

namespace Velquor::WebServices::Internal {

/// The signed-in user, shared by all products. Secrets are kept in their encrypted form. A plain value.
struct BasicLoginState {
    QByteArray clientId;       ///< Encrypted.
    QByteArray ntUserName;     ///< Encrypted: the system user who saved the state.
    QByteArray machineAddress; ///< Encrypted: the adapter addresses of the machine that saved the state, joined by "|".
    QByteArray loginCookies;   ///< Encrypted; empty when there are none.
    QString userName;
    QString userId;
    QString ldapDomainKey;
    QDateTime loginDate;
    QDateTime sessionExpiryDate; ///< Invalid: the session does not expire.

    [[nodiscard]] bool hasUser() const { return !clientId.isEmpty(); }
    /// Identifies the user: the id, or the name when the service gave no id.
    [[nodiscard]] QString user() const { return userId.isEmpty() ? userName : userId; }
    [[nodiscard]] bool isExpired(const QDateTime& now) const { return sessionExpiryDate.isValid() && sessionExpiryDate < now; }
    /// True for two states of one sign-in. Another sign-in has another date or another user.
    [[nodiscard]] bool isSameSignIn(const BasicLoginState& other) const;
    /// True when the values are equal that say who may use it, and on which machine.
    [[nodiscard]] bool hasSameBinding(const BasicLoginState& other) const;
    /// True when all values are equal.
    [[nodiscard]] bool operator==(const BasicLoginState& other) const;
};

/// One product as the login state file holds it. Secrets stay encrypted. A plain value.
struct StoredProduct {
    QString productKey; ///< The consumer key. Empty: the element cannot be used.
    QString name;
    QString exeName;
    QString serialNumber;
    int server = 0;
    ProductTokens tokens;
    QVector<OAuth2TokenData> oauth2Tokens;
    bool hasOlderToken = false; ///< One of them stands in the form of older programs, which a write replaces.

    /// "%1.%2" of name and executable, for the log.
    [[nodiscard]] QString fullName() const { return QStringLiteral("%1.%2").arg(name, exeName); }
    /// The token of this one's kind; null when there is none.
    [[nodiscard]] const OAuth2TokenData* oauth2Token(const OAuth2TokenData& kind) const;
    [[nodiscard]] bool operator==(const StoredProduct& other) const;
};

/// The login state as the file holds it: the settings, the user who is signed in, and the user's products. A plain value.
struct LoginState {
    QString created; ///< Distinguishes two documents when one was lost and another one started. Empty in those of older programs.
    bool hasSettings = false;
    std::optional<int> currentServer; ///< None: not in the file, or no server.
    QDateTime logoutDate;             ///< The last sign-out; invalid when there was none.

    bool hasSignIn = false; ///< There is a sign-in, which may be unusable.
    int signInServer = -1;
    BasicLoginState user;
    QVector<StoredProduct> products;

    /// The first product of this key; null when there is none.
    [[nodiscard]] const StoredProduct* product(const QString& productKey) const;
    [[nodiscard]] StoredProduct* product(const QString& productKey);
};

/// The later of two dates; an invalid one is earlier than any.
[[nodiscard]] QDateTime laterOf(const QDateTime& first, const QDateTime& second);

/// Dates in the file are whole seconds, so sign-in and sign-out are at least a second apart. A sign-in is dated after the last
/// sign-in or sign-out, whatever the clock says, and a sign-out never before the sign-in that it ends.
[[nodiscard]] QDateTime loginDateAfter(const QDateTime& now, const QDateTime& last);
[[nodiscard]] QDateTime logoutDateFor(const QDateTime& now, const QDateTime& loginDate);

} // namespace Velquor::WebServices::Internal
