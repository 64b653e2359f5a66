#include "Tokens/Refresh/TokenRefresher.h"

#include "Tokens/Refresh/RefreshTiming.h"
#include "VqUtil/General/HumanText.h"

#include <utility>

namespace Velquor::WebServices::Internal {

namespace {

constexpr int oauth2WaitMs = 30000;

} // namespace

TokenRefresher::TokenRefresher(ITokenOwner& owner, RefreshController& controller, IRequestFlags& flags,
                               std::shared_ptr<RunState> queries, const PendingRefreshFile& mark)
    : RefreshWorker(owner, tokenRefreshTexts())
    , m_controller(controller)
    , m_flags(flags)
    , m_queries(std::move(queries))
    , m_mark(mark)
    , m_notice(owner.services().lockFolder, owner.services().loggers.refresher) {}

TokenRefresher::~TokenRefresher() {
    releaseLocks();
    log().information(QStringLiteral("TokenRefresher destructor"));
}

QString TokenRefresher::timerStopReason() const {
    const QString reason = sharedStopReason();
    return reason.isEmpty() && m_queries->isBusy() ? QStringLiteral("Login in progress") : reason;
}

QString TokenRefresher::describeToken(bool& isDue) const {
    isDue = false;
    if (!owner().configuration())
        return QStringLiteral("No configuration to refresh token");
    if (owner().isLoginExpired())
        return QStringLiteral("Login session has expired. Cannot refresh token");
    return describeExpiry(QStringLiteral("Token %1. %2"), isDue);
}

QString TokenRefresher::refusal() const {
    if (owner().isLogoutPending())
        return QStringLiteral("Skipping token refresh since logout is pending");
    if (!owner().isLoggedIn())
        return QStringLiteral("Cannot refresh token: %1").arg(QStringLiteral("Not logged in"));
    if (owner().isLoginExpired())
        return QStringLiteral("Cannot refresh token: %1").arg(QStringLiteral("Login session has expired"));
    return owner().configuration() ? QString() : QStringLiteral("Cannot refresh token: No configuration");
}

void TokenRefresher::refresh() {
    const QString reason = refusal();
    if (!reason.isEmpty()) {
        log().warning(reason);
        return finish(0);
    }
    noteSignIn();
    poller().start(
        services().tokenTimeoutMs, [this] { return m_controller.lockTokenRefresh(); }, [this] { lockAcquired(); },
        [this] {
            log().error(
                QStringLiteral("Failed to refresh token. Another process holds the lock for too long. Will retry after %1.")
                    .arg(Util::timeSpanText(busyRetryMs)));
            finishAndRetry(busyRetryMs);
        });
}

void TokenRefresher::lockAcquired() {
    m_locked = true;
    log().information(QStringLiteral("Lock acquired for token refresh"));
    if (m_controller.isOAuth2TokenRefreshLocked())
        return waitForOAuth2Refresh();
    request();
}

void TokenRefresher::waitForOAuth2Refresh() {
    log().information(QStringLiteral("OAuth2 token refresh is in progress. Waiting for it to finish."));
    poller().start(
        oauth2WaitMs, [this] { return !m_controller.isOAuth2TokenRefreshLocked(); }, [this] { request(); },
        [this] { oauth2RefreshTookTooLong(); });
}

void TokenRefresher::oauth2RefreshTookTooLong() {
    const QString retry = Util::timeSpanText(busyRetryMs);
    log().warning(
        isSynchronous()
            ? QStringLiteral(
                  "Failed to refresh token. Timed out while waiting for OAuth2 token refresh to finish. Will retry after %1.")
                  .arg(retry)
            : QStringLiteral("Skipping token refresh since OAuth2 token refresh is in progress. Will retry after %1.")
                  .arg(retry));
    finishAndRetry(busyRetryMs);
}

void TokenRefresher::AbortRefresh() {
    if (!run().isBusy())
        return;
    log().information(QStringLiteral("Aborting token refresh"));
    abort();
}

void TokenRefresher::releaseLocks() {
    if (!std::exchange(m_locked, false))
        return;
    m_notice.clear();
    m_flags.clear(RequestFlag::tokenRefresh);
    m_controller.unlockTokenRefresh();
    log().information(QStringLiteral("Lock released for token refresh"));
}

void TokenRefresher::TokenRefreshedInAnotherProcess(const QString& consumerKey) {
    if (owner().productKey().isEmpty()) {
        log().error(QStringLiteral(
            "Received TokenRefreshed event from another process But consumer key is empty in product login session object."));
        return;
    }
    if (owner().productKey() != consumerKey) {
        log().information(QStringLiteral(
            "Token refreshed in another process. Ignoring it since this token refresh is for a different product."));
        return;
    }
    log().information(QStringLiteral("Token refreshed in another process. Loading the refreshed token in this process."));
    (void)owner().catchUpWithFile(owner().signInId());
    TokenAvailable();
}

} // namespace Velquor::WebServices::Internal
