#pragma once

#include "Tokens/ProductTokens.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>

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
};

/// How the sign-in in memory relates to the one in the file.
enum class StateOrigin {
    Same,               ///< The file holds this sign-in, or holds none and knows of no later sign-out.
    Older,              ///< The file holds an earlier sign-in: this one could not be saved yet.
    SignedOutElsewhere, ///< Another process has signed this user out: the sign-out wins.
    SignedInElsewhere,  ///< Another process has replaced this sign-in by a later one.
};

/// The later of two dates; an invalid one is earlier than any.
[[nodiscard]] QDateTime laterOf(const QDateTime& first, const QDateTime& second);

/// Dates in the file are whole seconds, so sign-in and sign-out are at least a second apart. A sign-in is dated after the last
/// sign-in or sign-out, whatever the clock says, and a sign-out never before the sign-in that it ends.
[[nodiscard]] QDateTime loginDateAfter(const QDateTime& now, const QDateTime& last);
[[nodiscard]] QDateTime logoutDateFor(const QDateTime& now, const QDateTime& loginDate);

/// Compares the sign-in in memory with the file. `inFile` has no user when the file holds no sign-in.
[[nodiscard]] StateOrigin compareSignIns(const BasicLoginState& inMemory, const BasicLoginState& inFile,
                                         const QDateTime& logoutDateInFile);

} // namespace Velquor::WebServices::Internal
