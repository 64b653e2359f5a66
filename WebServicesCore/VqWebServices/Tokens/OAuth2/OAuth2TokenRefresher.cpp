#include "Tokens/OAuth2/OAuth2TokenRefresher.h"

#include "Tokens/OAuth2/OAuth2TokenSlot.h"
#include "Tokens/Refresh/RefreshTiming.h"
#include "VqUtil/General/HumanText.h"

#include <utility>

namespace Velquor::WebServices::Internal {

namespace {

constexpr int holdOffMs = 30000;

} // namespace

OAuth2TokenRefresher::OAuth2TokenRefresher(ITokenOwner& owner, OAuth2TokenSlot& slot, IRequestFlags& flags,
                                           RefreshController& controller, RefreshWorker& tokenRefresher,
                                           std::shared_ptr<RunState> queries)
    : RefreshWorker(owner, oauth2RefreshTexts())
    , m_slot(slot)
    , m_flags(flags)
    , m_controller(controller)
    , m_tokenRefresher(tokenRefresher)
    , m_queries(std::move(queries))
    , m_flag(slot.refreshFlag())
    , m_retry(owner.services().steadyClock) {}

OAuth2TokenRefresher::~OAuth2TokenRefresher() {
    releaseLocks();
}

QDateTime OAuth2TokenRefresher::expiryDate() const {
    return m_slot.token().expiryDate;
}

QByteArray OAuth2TokenRefresher::heldToken() const {
    return m_slot.token().token;
}

QString OAuth2TokenRefresher::timerStopReason() const {
    const QString reason = sharedStopReason();
    if (!reason.isEmpty())
        return reason;
    if (!owner().isOAuth2Enabled())
        return QStringLiteral("OAuth2 is not enabled");
    if (!m_slot.token().isPresent())
        return QStringLiteral("No OAuth2 token to refresh");
    return m_queries->isBusy() ? QStringLiteral("OAuth2 token query is in progress") : QString();
}

QString OAuth2TokenRefresher::describeToken(bool& isDue) const {
    isDue = false;
    const QString reason = timerStopReason();
    if (!reason.isEmpty())
        return reason;
    isDue = isRetry();
    return describeExpiry(QStringLiteral("OAuth2 token %1. %2"), isDue);
}

void OAuth2TokenRefresher::TokenRefreshed() {
    if (std::exchange(m_waitsForToken, false) && isTimerActive())
        (void)ask(false, Reason::Requested);
}

QString OAuth2TokenRefresher::refusal() const {
    if (!owner().isOAuth2Enabled())
        return QStringLiteral("Failed to refresh OAuth2 token. OAuth2 is not enabled.");
    if (owner().isLogoutPending())
        return QStringLiteral("Skipping OAuth2 token refresh since logout is pending");
    if (!owner().isLoggedIn())
        return QStringLiteral("Cannot refresh OAuth2 token: Not logged in");
    if (owner().isLoginExpired())
        return QStringLiteral("Cannot refresh OAuth2 token: Login session has expired");
    if (!owner().tokens().areComplete())
        return QStringLiteral("Failed to refresh OAuth2 token. OAuth1 token not found.");
    return owner().configuration() ? QString() : QStringLiteral("Cannot refresh OAuth2 token: No configuration");
}

void OAuth2TokenRefresher::refuse(const QString& text) {
    log().warning(text);
    finish(0);
}

void OAuth2TokenRefresher::signInGone() {
    finishForSignInGone(QStringLiteral("Failed to refresh OAuth2 token. Not logged in."));
}

void OAuth2TokenRefresher::refresh() {
    m_waitsForToken = false;
    m_elsewhere = false;
    m_resent = false;
    noteSignIn();
    if (m_retryMark != signInId())
        m_retry.end();
    const QString reason = refusal();
    if (!reason.isEmpty())
        return refuse(reason);
    if (owner().tokens().areExpired(now()))
        return waitForToken();
    waitForLock();
}

void OAuth2TokenRefresher::waitForToken() {
    if (!isSynchronous()) {
        m_waitsForToken = true;
        log().information(QStringLiteral("Skipping OAuth2 token refresh since OAuth1 token has expired. Will retry after %1.")
                              .arg(Util::timeSpanText(busyRetryMs)));
        return finishAndRetry(busyRetryMs);
    }
    log().information(QStringLiteral(
        "Holding off OAuth2 token refresh and waiting for OAuth1 token to be refreshed since OAuth1 token has expired"));
    (void)m_tokenRefresher.ask(true, Reason::Expired);
    const std::shared_ptr<RunState> tokenRun = m_tokenRefresher.runState();
    poller().start(
        services().tokenTimeoutMs, [tokenRun] { return !tokenRun->isBusy(); }, [this] { tokenRefreshEnded(); },
        [this] {
            log().error(
                QStringLiteral(
                    "Failed to refresh OAuth2 token. Timed out while waiting for expired OAuth1 token to be refreshed. Will retry after %1.")
                    .arg(Util::timeSpanText(busyRetryMs)));
            finishAndRetry(busyRetryMs);
        });
}

void OAuth2TokenRefresher::tokenRefreshEnded() {
    if (!owner().tokens().areExpired(now()))
        return waitForLock();
    log().error(QStringLiteral("Failed to refresh OAuth2 token. Failed to refresh expired OAuth1 token. Will retry after %1.")
                    .arg(Util::timeSpanText(busyRetryMs)));
    finishAndRetry(busyRetryMs);
}

void OAuth2TokenRefresher::waitForLock() {
    m_claiming.start();
    poller().start(
        services().tokenTimeoutMs, [this] { return claim(); }, [this] { lockAcquired(); },
        [this] {
            log().error(QStringLiteral(
                            "Failed to refresh OAuth2 token. Another process holds the lock for too long. Will retry after %1.")
                            .arg(Util::timeSpanText(busyRetryMs)));
            finishAndRetry(busyRetryMs);
        });
}

bool OAuth2TokenRefresher::claim() {
    const bool isFlagSet = m_flags.isSetElsewhere(m_flag);
    const bool hasLock = m_controller.lockOAuth2TokenRefresh();
    if (hasLock && (!isFlagSet || m_claiming.elapsed() >= RequestFlag::patienceMs))
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

void OAuth2TokenRefresher::lockAcquired() {
    m_locked = true;
    log().information(QStringLiteral("Lock acquired for OAuth2 token refresh"));
    if (m_controller.isTokenRefreshLocked())
        return holdOff();
    request();
}

bool OAuth2TokenRefresher::claimBetweenTokenRefreshes() {
    if (m_controller.isTokenRefreshLocked() || !m_controller.lockOAuth2TokenRefresh())
        return false;
    // One may have been begun between the two looks.
    if (!m_controller.isTokenRefreshLocked())
        return true;
    m_controller.unlockOAuth2TokenRefresh();
    return false;
}

// The lock is given back meanwhile: the OAuth 1.0 refresh may be waiting for it.
void OAuth2TokenRefresher::holdOff() {
    log().information(
        QStringLiteral("Holding off OAuth2 token refresh since token refresh is in progress. Waiting for it to finish."));
    releaseLocks();
    poller().start(
        holdOffMs, [this] { return claimBetweenTokenRefreshes(); },
        [this] {
            m_locked = true;
            log().information(QStringLiteral("Lock acquired for OAuth2 token refresh"));
            request();
        },
        [this] {
            const QString retry = Util::timeSpanText(busyRetryMs);
            log().warning(
                isSynchronous()
                    ? QStringLiteral(
                          "Failed to refresh OAuth2 token. Timed out while waiting for token refresh to finish. Will retry after %1.")
                          .arg(retry)
                    : QStringLiteral("Skipping OAuth2 token refresh since token refresh is in progress. Will retry after %1.")
                          .arg(retry));
            finishAndRetry(busyRetryMs);
        });
}

void OAuth2TokenRefresher::releaseLocks() {
    if (!std::exchange(m_locked, false))
        return;
    if (std::exchange(m_published, false))
        m_flags.clear(m_flag);
    m_controller.unlockOAuth2TokenRefresh();
    log().information(QStringLiteral("Lock released for OAuth2 token refresh"));
}

} // namespace Velquor::WebServices::Internal
