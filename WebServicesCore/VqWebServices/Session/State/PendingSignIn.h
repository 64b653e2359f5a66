#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

namespace Velquor::WebServices::Internal {

/// A sign-in that waits for the browser. Secrets are encrypted. A plain value.
struct PendingSignIn {
    QByteArray requestToken;
    QByteArray requestTokenSecret; ///< Encrypted.
    QByteArray clientId;           ///< Encrypted.
    QString ldapDomainKey;
    QDateTime begun;
};

} // namespace Velquor::WebServices::Internal
