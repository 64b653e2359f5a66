#pragma once

#include "Tokens/RequestLock.h"
#include "Tokens/TokenDependencies.h"

#include <QObject>

namespace Velquor::WebServices::Internal {

/// Lets one refresh of a consumer key run at a time among all processes of the user, and keeps the OAuth 1.0 and the OAuth2
/// refreshes of the key apart.
///
/// Thread: the token operations thread. Owner: the object deleter of the product's session. Errors: as of RequestLock.
class RefreshController : public QObject {
    Q_OBJECT

public:
    /// `keyDigest` replaces the consumer key in the names of the locks.
    RefreshController(const QString& keyDigest, const QString& consumerKey, const TokenDependencies& services);

    /// Each tries once and never waits.
    [[nodiscard]] bool lockTokenRefresh();
    void unlockTokenRefresh();
    [[nodiscard]] bool lockOAuth2TokenRefresh();
    void unlockOAuth2TokenRefresh();

    /// Whether this or another process holds the lock.
    [[nodiscard]] bool isTokenRefreshLocked();
    [[nodiscard]] bool isOAuth2TokenRefreshLocked();

signals:
    void LockedTokenRefresh();
    void UnlockedTokenRefresh();
    void UnlockedOAuth2TokenRefresh(const QString& consumerKey);

private:
    const QString m_consumerKey;
    RequestLock m_token;
    RequestLock m_oauth2;
};

} // namespace Velquor::WebServices::Internal
