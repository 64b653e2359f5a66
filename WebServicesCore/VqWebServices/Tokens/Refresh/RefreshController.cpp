#include "Tokens/Refresh/RefreshController.h"

namespace Velquor::WebServices::Internal {

namespace {

RequestLock makeLock(const QString& name, const TokenDependencies& services) {
    return RequestLock(name, services.claims->makeGuard(name, services.lockFolder), services.loggers.product);
}

} // namespace

RefreshController::RefreshController(const QString& keyDigest, const QString& consumerKey, const TokenDependencies& services)
    : m_consumerKey(consumerKey)
    , m_token(makeLock(QStringLiteral("Velquor.WebServices.TokenRefresh.") + keyDigest, services))
    , m_oauth2(makeLock(QStringLiteral("Velquor.WebServices.OAuth2TokenRefresh.") + keyDigest, services)) {
    services.loggers.product->information(QStringLiteral("RefreshController constructor"));
}

bool RefreshController::lockTokenRefresh() {
    const bool locked = m_token.acquire();
    if (locked)
        emit LockedTokenRefresh();
    return locked;
}

void RefreshController::unlockTokenRefresh() {
    m_token.release();
    emit UnlockedTokenRefresh();
}

bool RefreshController::lockOAuth2TokenRefresh() {
    return m_oauth2.acquire();
}

void RefreshController::unlockOAuth2TokenRefresh() {
    m_oauth2.release();
    emit UnlockedOAuth2TokenRefresh(m_consumerKey);
}

bool RefreshController::isTokenRefreshLocked() {
    return m_token.isTaken();
}

bool RefreshController::isOAuth2TokenRefreshLocked() {
    return m_oauth2.isTaken();
}

} // namespace Velquor::WebServices::Internal
