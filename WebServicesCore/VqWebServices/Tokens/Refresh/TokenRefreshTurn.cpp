#include "Tokens/Refresh/TokenRefreshTurn.h"

#include "Tokens/Refresh/RefreshTiming.h"
#include "VqUtil/General/HumanText.h"

#include <utility>

namespace Velquor::WebServices::Internal {

namespace {

constexpr int oauth2WaitMs = 30000;

} // namespace

TokenRefreshTurn::TokenRefreshTurn(ITokenOwner& owner, RefreshController& controller, IRequestFlags& flags, Poller& poller,
                                   Next granted, Next putOff)
    : m_owner(owner)
    , m_controller(controller)
    , m_flags(flags)
    , m_poller(poller)
    , m_granted(std::move(granted))
    , m_putOff(std::move(putOff))
    , m_shown(owner.services().lockFolder, owner.services().loggers.refresher) {}

void TokenRefreshTurn::wait(bool synchronous) {
    m_synchronous = synchronous;
    m_poller.start(
        m_owner.services().tokenTimeoutMs, [this] { return m_controller.lockTokenRefresh(); }, [this] { lockAcquired(); },
        [this] {
            log().error(
                QStringLiteral("Failed to refresh token. Another process holds the lock for too long. Will retry after %1.")
                    .arg(Util::timeSpanText(busyRetryMs)));
            m_putOff();
        });
}

void TokenRefreshTurn::lockAcquired() {
    m_locked = true;
    log().information(QStringLiteral("Lock acquired for token refresh"));
    if (m_controller.isOAuth2TokenRefreshLocked())
        return waitForOAuth2Refresh();
    m_granted();
}

// The lock is kept while waiting: an OAuth2 refresh gives its own back when it finds this one taken, so one of the two goes on.
void TokenRefreshTurn::waitForOAuth2Refresh() {
    log().information(QStringLiteral("OAuth2 token refresh is in progress. Waiting for it to finish."));
    m_poller.start(
        oauth2WaitMs, [this] { return !m_controller.isOAuth2TokenRefreshLocked(); }, m_granted,
        [this] { oauth2RefreshTookTooLong(); });
}

void TokenRefreshTurn::oauth2RefreshTookTooLong() {
    const QString retry = Util::timeSpanText(busyRetryMs);
    log().warning(
        m_synchronous
            ? QStringLiteral(
                  "Failed to refresh token. Timed out while waiting for OAuth2 token refresh to finish. Will retry after %1.")
                  .arg(retry)
            : QStringLiteral("Skipping token refresh since OAuth2 token refresh is in progress. Will retry after %1.")
                  .arg(retry));
    m_putOff();
}

void TokenRefreshTurn::publish() {
    m_shown.show(m_owner.productKey());
    m_flags.set(RequestFlag::tokenRefresh);
}

void TokenRefreshTurn::release() {
    if (!std::exchange(m_locked, false))
        return;
    m_shown.clear();
    m_flags.clear(RequestFlag::tokenRefresh);
    m_controller.unlockTokenRefresh();
    log().information(QStringLiteral("Lock released for token refresh"));
}

} // namespace Velquor::WebServices::Internal
