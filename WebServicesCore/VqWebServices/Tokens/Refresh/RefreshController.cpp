#include "Tokens/Refresh/RefreshController.h"

namespace Velquor::WebServices::Internal {

RefreshController::RefreshController(const QString& keyDigest, const QString& folder, const QString& consumerKey,
                                     const std::shared_ptr<Log::ILogger>& logger)
    : m_consumerKey(consumerKey)
    , m_token(QStringLiteral("Velquor.WebServices.TokenRefresh.") + keyDigest, folder, logger)
    , m_oauth2(QStringLiteral("Velquor.WebServices.OAuth2TokenRefresh.") + keyDigest, folder, logger) {
    logger->information(QStringLiteral("RefreshController constructor"));
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
