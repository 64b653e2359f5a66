#pragma once

#include "VqUtil/Platform/ProcessGuard.h"

#include <QObject>

namespace Velquor::WebServices {

/// Lets one refresh of a consumer key run at a time among all processes of the user, and keeps the OAuth 1.0 and the OAuth2
/// refreshes of the key apart. The locks are such that the operating system frees them with their process.
///
/// Thread: the token operations thread. Owner: the object deleter of the product's session. Errors: a lock that cannot be had.
class RefreshController : public QObject {
    Q_OBJECT

public:
    /// `keyDigest` stands for the consumer key in the names of the locks; `folder` is where they live.
    RefreshController(const QString& keyDigest, const QString& folder, const QString& consumerKey);

    /// Each tries once and never waits.
    [[nodiscard]] bool lockTokenRefresh();
    void unlockTokenRefresh();
    [[nodiscard]] bool lockOAuth2TokenRefresh();
    void unlockOAuth2TokenRefresh();

    /// Whether anybody, here or in another process, holds the lock.
    [[nodiscard]] bool isTokenRefreshLocked();
    [[nodiscard]] bool isOAuth2TokenRefreshLocked();

signals:
    void LockedTokenRefresh();
    void UnlockedTokenRefresh();
    void UnlockedOAuth2TokenRefresh(const QString& consumerKey);

private:
    struct Lock {
        Lock(const QString& name, const QString& folder)
            : guard(name, folder) {}
        bool acquire();
        void release();
        /// A lock held by this very thread must not be tried: the system would grant it a second time.
        bool isTaken();

        Util::ProcessGuard guard;
        bool isHeld = false;
    };

    const QString m_consumerKey;
    Lock m_token;
    Lock m_oauth2;
};

} // namespace Velquor::WebServices
