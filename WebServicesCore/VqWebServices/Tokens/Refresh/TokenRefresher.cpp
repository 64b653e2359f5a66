#include "Tokens/Refresh/TokenRefresher.h"

#include "Network/Diagnosis/DisplayUrl.h"
#include "Tokens/ModeWord.h"
#include "Tokens/Refresh/RefreshTiming.h"
#include "Tokens/Refresh/TokenRefreshLog.h"
#include "Tokens/TokenReply.h"
#include "VqUtil/General/HumanText.h"

#include <utility>

namespace Velquor::WebServices::Internal {

using Event = WebServicesPrivateCore::WebServicesEvent;

TokenRefresher::TokenRefresher(ITokenOwner& owner, RefreshController& controller, IRequestFlags& flags,
                               std::shared_ptr<RunState> queries, std::unique_ptr<IPendingRefresh> pending)
    : RefreshWorker(owner, &Loggers::refresher, std::make_unique<TokenRefreshLog>(owner.services().loggers.refresher))
    , m_queries(std::move(queries))
    , m_pending(std::move(pending))
    , m_turn(
          owner, controller, flags, poller(), [this] { request(); }, [this] { putOff(); }) {}

TokenRefresher::~TokenRefresher() {
    m_turn.release();
    log().information(QStringLiteral("TokenRefresher destructor"));
}

QString TokenRefresher::timerStopReason() const {
    const QString reason = sharedStopReason();
    return reason.isEmpty() && m_queries->isBusy() ? QStringLiteral("Login in progress") : reason;
}

RefreshWorker::TokenState TokenRefresher::tokenState() const {
    if (!owner().configuration())
        return {QStringLiteral("No configuration to refresh token"), false};
    if (owner().isLoginExpired())
        return {QStringLiteral("Login session has expired. Cannot refresh token"), false};
    return expiryState(QStringLiteral("Token %1. %2"));
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
    m_turn.wait(isSynchronous());
}

void TokenRefresher::request() {
    // With the lock held: what another process has stored before it released the lock is in the file now.
    if (owner().catchUpWithFile(signInId()) == FileLook::SignInGone)
        return signInGone();
    if (isAnotherToken() && !owner().tokens().areExpired(now()))
        return takeFromFile();
    if (isOnlyForExpired() && !owner().tokens().areExpired(now())) {
        updateRefreshTimer();
        return finish(1);
    }
    m_turn.publish();
    log().information(QStringLiteral("Refreshing token %1").arg(modeAdverb(isSynchronous())));
    m_mayBeSpent = m_pending->isSet();
    sendRequest(true);
}

void TokenRefresher::sendRequest(bool withToken) {
    const ConfigurationPointer configuration = owner().configuration();
    if (!configuration) {
        log().error(QStringLiteral("Cannot start token refresh. Configuration has been deleted"));
        return finish(0);
    }
    const QUrl url = owner().endPoint(QStringLiteral("AccountServerUrl"), QStringLiteral("AccessTokenEndPoint"));
    const Util::Result<SigningKeys> keys = withToken ? owner().signingKeys() : consumerKeys(*configuration);
    const Util::SecretBytes handle = services().cryptor->decrypt(owner().tokens().sessionHandle);
    QNetworkRequest request;
    if (!keys || handle.isEmpty()
        || !signGet(*services().oauthHost, url, *keys, request, {{"oauth_session_handle", handle.view()}})) {
        log().error(QStringLiteral("Failed to refresh token. Failed to sign request. %1").arg(keys.reason()));
        return finishAndRetry(networkRetryMs);
    }
    log().information(QStringLiteral("Starting network operation in separate thread to refresh token: %1").arg(displayUrl(url)));
    // Before the request is sent, so that it survives a crash during the request.
    m_pending->set();
    noteTriedToken();
    send(request, QStringLiteral("GET"), {});
}

void TokenRefresher::endTurn() {
    m_turn.release();
    clearFlag();
}

void TokenRefresher::takeFromFile() {
    log().information(QStringLiteral("Token refreshed in another process. Loading the refreshed token in this process."));
    forgetFailures();
    updateRefreshTimer();
    finish(1);
    emit TokenRefreshed(owner().productKey());
}

void TokenRefresher::signInGone() {
    finishForSignInGone(QStringLiteral("Failed to refresh token. Not logged in."));
}

void TokenRefresher::handleReply(const ExchangeOutcome& outcome) {
    log().information(QStringLiteral("Token refresh network operation thread finished"));
    if (isAborted()) {
        log().warning(QStringLiteral("Failed to refresh token. Aborted."));
        return finish(0);
    }
    // The user may have signed out, or another user signed in, during the request.
    if (!owner().isLoggedIn() || owner().signInId() != signInId())
        return signInGone();
    if (outcome.reply.isNull)
        log().error(QStringLiteral("Failed to refresh token. Reply is null"));
    if (outcome.hasStatus200())
        return succeeded(outcome);
    if (outcome.reply.status == 0 || outcome.reply.status == 200) {
        const QString error = outcome.errorText();
        // Status 200 without success is a reply that was cut off: a network fault. The server may have invalidated the old token;
        // the file or the next try will show.
        log().warning(QStringLiteral("Failed to refresh token. Will retry token refresh after %1. %2. %3")
                          .arg(Util::timeSpanText(networkRetryMs), error.isEmpty() ? QStringLiteral("Unknown error") : error,
                               outcome.problemText()));
        return finishAndRetry(networkRetryMs);
    }
    handleRefusal(outcome);
}

void TokenRefresher::succeeded(const ExchangeOutcome& outcome) {
    const QMap<QString, QByteArray> reply = replyParameters(outcome.reply.body);
    const std::optional<ProductTokens> tokens = readTokenReply(reply, now(), *services().cryptor, log());
    if (!tokens) {
        log().error(
            QStringLiteral("Failed to parse token refresh response returned by server. Response body maybe invalid or empty."));
        log().error(outcome.reply.dump.join(QLatin1Char('\n')));
        return finishAndRetry(networkRetryMs);
    }
    const QDateTime sessionExpiry = expiryFrom(reply.value(QStringLiteral("oauth_authorization_expires_in")), now());
    switch (owner().store(*tokens, sessionExpiry, signInId())) {
    case StoreResult::SignInGone: return signInGone();
    // The old token may be invalid now: the pending file stays, so that the next try can do without the token.
    case StoreResult::Busy: return retryAfter(networkRetryMs);
    // The file still holds the old token. Its next reader, also after this process has died, must know that it may be spent.
    case StoreResult::Unwritten: return stored(*tokens);
    case StoreResult::Stored: m_pending->clear(); return stored(*tokens);
    }
}

void TokenRefresher::stored(const ProductTokens& tokens) {
    forgetFailures();
    log().information(QStringLiteral("Token refreshed successfully. Token expires in %2. Login session expires in %3")
                          .arg(Util::timeSpanText(now().msecsTo(tokens.expiryDate)),
                               Util::timeSpanText(now().msecsTo(owner().sessionExpiryDate()))));
    owner().raiseEvent(Event::TokenRefreshed);
    updateRefreshTimer();
    finish(1);
    // The receivers start requests that need the lock.
    emit TokenRefreshed(owner().productKey());
}

void TokenRefresher::handleRefusal(const ExchangeOutcome& outcome) {
    const bool isClock = isClockProblem(outcome.reply.problem);
    if (isClock)
        services().clockProblemSeen();
    log().error(QStringLiteral("Failed to refresh token. %1%2").arg(outcome.errorText(), outcome.problemText()));
    if (!isClock && isSameOutage(outcome))
        return retryAfter(networkRetryMs);
    if (outcome.reply.status != 400 || isClock)
        return countFailure(isClock);
    // Only this refusal is a verdict on the token. Other errors may come from the framework repeating a request without an
    // answer.
    if (isSettledElsewhere())
        return;
    if (std::exchange(m_mayBeSpent, false)) {
        log().warning(QStringLiteral(
            "The token may have been spent by a refresh whose answer was lost. Asking for a new one with the session handle alone."));
        return sendRequest(false);
    }
    m_pending->clear();
    giveUp(QStringLiteral(
        "Current token is invalid and cannot be refreshed anymore. Logging out (asynchronously) to force a re-login."));
}

void TokenRefresher::retryAfter(int intervalMs) {
    log().warning(QStringLiteral("Will retry token refresh after %1").arg(Util::timeSpanText(intervalMs)));
    finishAndRetry(intervalMs);
}

void TokenRefresher::forgetFailures() {
    m_failureCount = 0;
    m_outageMs.reset();
}

bool TokenRefresher::isSameOutage(const ExchangeOutcome& outcome) {
    constexpr int firstServerError = 500;
    if (outcome.reply.status < firstServerError)
        return false;
    const qint64 nowMs = services().steadyClock() / 1000000;
    const bool isSame = m_outageMs && nowMs - *m_outageMs < outagePauseMs;
    if (!isSame)
        m_outageMs = nowMs;
    return isSame;
}

void TokenRefresher::countFailure(bool isClockProblem) {
    if (++m_failureCount < maximumRefreshFailures)
        return retryAfter(refreshRetryMs(m_failureCount, isClockProblem));
    forgetFailures();
    if (isSettledElsewhere())
        return;
    giveUp(
        QStringLiteral(
            "Failed to refresh token after %1 attempts. Giving up refresh and logging out (asynchronously) to force a re-login.")
            .arg(maximumRefreshFailures));
}

void TokenRefresher::AbortRefresh() {
    if (!run().isBusy())
        return;
    log().information(QStringLiteral("Aborting token refresh"));
    abort();
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
