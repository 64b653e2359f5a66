#include "Tokens/RefreshController.h"

#include <utility>

namespace Velquor::WebServices {

bool RefreshController::Lock::acquire() {
    if (isHeld)
        return false;
    const Util::ProcessGuard::Result result = guard.acquire(0);
    isHeld = result == Util::ProcessGuard::Result::Acquired || result == Util::ProcessGuard::Result::AcquiredFromTheDead;
    return isHeld;
}

void RefreshController::Lock::release() {
    if (std::exchange(isHeld, false))
        guard.release();
}

bool RefreshController::Lock::isTaken() {
    if (isHeld)
        return true;
    const bool isFree = acquire();
    release();
    return !isFree;
}

RefreshController::RefreshController(const QString& keyDigest, const QString& folder, const QString& consumerKey)
    : m_consumerKey(consumerKey)
    , m_token(QStringLiteral("Velquor.WebServices.TokenRefresh.") + keyDigest, folder)
    , m_oauth2(QStringLiteral("Velquor.WebServices.OAuth2TokenRefresh.") + keyDigest, folder) {}

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

bool RefreshController::lockOAuth2TokenRefresh() { return m_oauth2.acquire(); }

void RefreshController::unlockOAuth2TokenRefresh() {
    m_oauth2.release();
    emit UnlockedOAuth2TokenRefresh(m_consumerKey);
}

bool RefreshController::isTokenRefreshLocked() { return m_token.isTaken(); }

bool RefreshController::isOAuth2TokenRefreshLocked() { return m_oauth2.isTaken(); }

} // namespace Velquor::WebServices
