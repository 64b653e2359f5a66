#include "Tokens/OAuth2/OAuth2RefreshTurn.h"

#include "Tokens/Refresh/RefreshTiming.h"
#include "VqUtil/General/HumanText.h"

#include <utility>

namespace Velquor::WebServices::Internal {

namespace {

constexpr int holdOffMs = 30000;

} // namespace

OAuth2RefreshTurn::OAuth2RefreshTurn(ITokenOwner& owner, const OAuth2TokenSlot& slot, IRequestFlags& flags,
                                     RefreshController& controller, RefreshWorker& tokenRefresher, Poller& poller, Next granted,
                                     Next putOff)
    : m_owner(owner)
    , m_flags(flags)
    , m_controller(controller)
    , m_tokenRefresher(tokenRefresher)
    , m_poller(poller)
    , m_granted(std::move(granted))
    , m_putOff(std::move(putOff))
    , m_flag(slot.refreshFlag())
    , m_claiming(owner.services().steadyClock) {}

void OAuth2RefreshTurn::reset() {
    m_elsewhere = false;
    m_putOffForToken = false;
}

void OAuth2RefreshTurn::wait(bool synchronous) {
    m_synchronous = synchronous;
    if (isTokenExpired())
        waitForToken();
    else
        waitForLock();
}

bool OAuth2RefreshTurn::takePutOffForToken() {
    return std::exchange(m_putOffForToken, false);
}

void OAuth2RefreshTurn::waitForToken() {
    if (!m_synchronous) {
        m_putOffForToken = true;
        log().information(QStringLiteral("Skipping OAuth2 token refresh since OAuth1 token has expired. Will retry after %1.")
                              .arg(Util::timeSpanText(busyRetryMs)));
        return m_putOff();
    }
    log().information(QStringLiteral(
        "Holding off OAuth2 token refresh and waiting for OAuth1 token to be refreshed since OAuth1 token has expired"));
    (void)m_tokenRefresher.ask(true, RefreshWorker::Reason::Expired);
    const std::shared_ptr<RunState> tokenRun = m_tokenRefresher.runState();
    m_poller.start(
        m_owner.services().tokenTimeoutMs, [tokenRun] { return !tokenRun->isBusy(); }, [this] { tokenRefreshEnded(); },
        [this] {
            log().error(
                QStringLiteral(
                    "Failed to refresh OAuth2 token. Timed out while waiting for expired OAuth1 token to be refreshed. Will retry after %1.")
                    .arg(Util::timeSpanText(busyRetryMs)));
            m_putOff();
        });
}

void OAuth2RefreshTurn::tokenRefreshEnded() {
    if (!isTokenExpired())
        return waitForLock();
    log().error(QStringLiteral("Failed to refresh OAuth2 token. Failed to refresh expired OAuth1 token. Will retry after %1.")
                    .arg(Util::timeSpanText(busyRetryMs)));
    m_putOff();
}

void OAuth2RefreshTurn::waitForLock() {
    m_claiming.restart();
    m_poller.start(
        m_owner.services().tokenTimeoutMs, [this] { return claim(); }, [this] { lockAcquired(); },
        [this] {
            log().error(QStringLiteral(
                            "Failed to refresh OAuth2 token. Another process holds the lock for too long. Will retry after %1.")
                            .arg(Util::timeSpanText(busyRetryMs)));
            m_putOff();
        });
}

// A process that sets the flag without our lock is believed for a while only: its flag may be left over.
bool OAuth2RefreshTurn::claim() {
    const bool isFlagSet = m_flags.isSetElsewhere(m_flag);
    const bool hasLock = m_controller.lockOAuth2TokenRefresh();
    if (hasLock && (!isFlagSet || m_claiming.elapsedMs() >= RequestFlag::patienceMs))
        return true;
    if (hasLock)
        m_controller.unlockOAuth2TokenRefresh();
    if (isFlagSet && !std::exchange(m_elsewhere, true)) {
        log().information(QStringLiteral("Skipping query in this process"));
        log().information(QStringLiteral("OAuth2 token refresh is in progress in another process. %1.")
                              .arg(QStringLiteral("Waiting for it to finish")));
    }
    return false;
}

void OAuth2RefreshTurn::lockAcquired() {
    m_locked = true;
    log().information(QStringLiteral("Lock acquired for OAuth2 token refresh"));
    if (m_controller.isTokenRefreshLocked())
        return holdOff();
    m_granted();
}

bool OAuth2RefreshTurn::claimBetweenTokenRefreshes() {
    if (m_controller.isTokenRefreshLocked() || !m_controller.lockOAuth2TokenRefresh())
        return false;
    // One may have begun between the two calls.
    if (!m_controller.isTokenRefreshLocked())
        return true;
    m_controller.unlockOAuth2TokenRefresh();
    return false;
}

// Gives the lock back while it waits: the OAuth 1.0 refresh may be waiting for it, and keeps its own.
void OAuth2RefreshTurn::holdOff() {
    log().information(
        QStringLiteral("Holding off OAuth2 token refresh since token refresh is in progress. Waiting for it to finish."));
    release();
    m_poller.start(
        holdOffMs, [this] { return claimBetweenTokenRefreshes(); },
        [this] {
            m_locked = true;
            log().information(QStringLiteral("Lock acquired for OAuth2 token refresh"));
            m_granted();
        },
        [this] { holdOffTookTooLong(); });
}

void OAuth2RefreshTurn::holdOffTookTooLong() {
    const QString retry = Util::timeSpanText(busyRetryMs);
    log().warning(
        m_synchronous
            ? QStringLiteral(
                  "Failed to refresh OAuth2 token. Timed out while waiting for token refresh to finish. Will retry after %1.")
                  .arg(retry)
            : QStringLiteral("Skipping OAuth2 token refresh since token refresh is in progress. Will retry after %1.")
                  .arg(retry));
    m_putOff();
}

void OAuth2RefreshTurn::publish() {
    m_published = true;
    m_flags.set(m_flag);
}

void OAuth2RefreshTurn::release() {
    if (!std::exchange(m_locked, false))
        return;
    if (std::exchange(m_published, false))
        m_flags.clear(m_flag);
    m_controller.unlockOAuth2TokenRefresh();
    log().information(QStringLiteral("Lock released for OAuth2 token refresh"));
}

} // namespace Velquor::WebServices::Internal
