#include "Tokens/OAuth2/OAuth2TokenRefresher.h"

#include "Network/Diagnosis/DisplayUrl.h"
#include "Tokens/ModeWord.h"
#include "Tokens/OAuth2/OAuth2Exchange.h"
#include "Tokens/OAuth2/OAuth2RefreshLog.h"
#include "Tokens/OAuth2/OAuth2TokenSlot.h"
#include "Tokens/OAuth2/RetrySchedules.h"
#include "Tokens/Refresh/RefreshTiming.h"
#include "Tokens/TimedLock.h"
#include "VqUtil/General/HumanText.h"

#include <utility>

namespace Velquor::WebServices::Internal {

using Event = WebServicesPrivateCore::WebServicesEvent;

OAuth2TokenRefresher::OAuth2TokenRefresher(ITokenOwner& owner, OAuth2TokenSlot& slot, IRequestFlags& flags,
                                           RefreshController& controller, RefreshWorker& tokenRefresher,
                                           std::shared_ptr<RunState> queries)
    : RefreshWorker(owner, &Loggers::oauth2Refresher,
                    std::make_unique<OAuth2RefreshLog>(owner.services().loggers.oauth2Refresher))
    , m_slot(slot)
    , m_queries(std::move(queries))
    , m_turn(
          owner, slot, flags, controller, tokenRefresher, poller(), [this] { request(); }, [this] { putOff(); })
    , m_retry(owner.services().steadyClock) {}

OAuth2TokenRefresher::~OAuth2TokenRefresher() {
    m_turn.release();
}

QDateTime OAuth2TokenRefresher::expiryDate() const {
    return m_slot.token().expiryDate;
}

QByteArray OAuth2TokenRefresher::heldToken() const {
    return m_slot.token().token;
}

QString OAuth2TokenRefresher::timerStopReason() const {
    QString reason = sharedStopReason();
    if (!reason.isEmpty())
        return reason;
    if (!m_slot.token().isPresent())
        return QStringLiteral("No OAuth2 token to refresh");
    return m_queries->isBusy() ? QStringLiteral("OAuth2 token query is in progress") : QString();
}

RefreshWorker::TokenState OAuth2TokenRefresher::tokenState() const {
    if (!owner().configuration())
        return {QStringLiteral("No configuration to refresh token"), false};
    if (owner().isLoginExpired())
        return {QStringLiteral("Login session has expired. Cannot refresh token"), false};
    const QString reason = timerStopReason();
    return reason.isEmpty() ? expiryState(QStringLiteral("OAuth2 token %1. %2")) : TokenState{reason, false};
}

void OAuth2TokenRefresher::TokenRefreshed() {
    if (m_turn.takePutOffForToken() && isTimerActive())
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
    m_turn.reset();
    m_resent = false;
    noteSignIn();
    // The failures of an earlier sign-in do not count for this one.
    if (m_retrySignInId != signInId())
        m_retry.end();
    const QString reason = refusal();
    if (!reason.isEmpty())
        return refuse(reason);
    m_turn.wait(isSynchronous());
}

void OAuth2TokenRefresher::request() {
    // With the lock held: what another process has stored before it released the lock is in the file now.
    if (owner().catchUpWithFile(signInId()) == FileLook::SignInGone)
        return signInGone();
    const bool isValid = m_slot.token().isValid(now());
    const bool isRenewed = isValid && isAnotherToken();
    if (m_turn.wasBusyElsewhere()) {
        const auto finished = QStringLiteral("Finished waiting for OAuth2 token refresh to finish in another process. %1.");
        log().information(finished.arg(isRenewed ? QStringLiteral("Refresh successful") : QStringLiteral("Refresh failed")));
    }
    if (isRenewed)
        return takeFromFile();
    if (isOnlyForExpired() && isValid) {
        updateRefreshTimer();
        return finish(1);
    }
    m_turn.publish();
    log().information(QStringLiteral("Refreshing OAuth2 token %1").arg(modeAdverb(isSynchronous())));
    sendRequest();
}

Util::SecretBytes OAuth2TokenRefresher::makeForm(const WebServicesConfiguration& configuration) {
    // Configuration and tokens must belong together while the form is made.
    const TimedLock lock(TimedLock::Kind::ProductLoginSession, owner().productLock(),
                         QStringLiteral("OAuth2TokenRefresher::DoRefreshToken"), services().loggers.lock);
    m_sentTokens = owner().tokens();
    // The server expects another word for the type here than in a query.
    const QString type = m_slot.spec().GetType() == JWT ? QStringLiteral("Jwt") : QString();
    return oauth2Form(configuration, m_sentTokens, *services().cryptor, type, m_slot.scope());
}

void OAuth2TokenRefresher::sendRequest() {
    const ConfigurationPointer configuration = owner().configuration();
    if (!configuration)
        return refuse(QStringLiteral("Cannot start OAuth2 token refresh. Configuration has been deleted."));
    const QString reason = refusal();
    if (!reason.isEmpty())
        return refuse(reason);
    const Util::SecretBytes form = makeForm(*configuration);
    if (!hasOAuth2Keys(*configuration))
        return refuse(QStringLiteral("Cannot refresh OAuth2 token: OAuth2 keys not set"));
    if (form.isEmpty())
        return refuse(QStringLiteral("Failed to refresh OAuth2 token. Failed to decrypt the access token."));
    const QUrl url = owner().endPoint(QStringLiteral("OAuth2AccountServerUrl"), QStringLiteral("OAuth2AccessTokenEndPoint"));
    log().information(
        QStringLiteral("Starting network operation in separate thread to refresh OAuth2 token: %1").arg(displayUrl(url)));
    noteTriedToken();
    send(oauth2Request(url), QStringLiteral("POST"), QByteArray(form.data(), form.size()));
}

void OAuth2TokenRefresher::handleReply(const ExchangeOutcome& outcome) {
    log().information(QStringLiteral("OAuth2 token refresh network operation thread finished"));
    if (isAborted())
        return refuse(QStringLiteral("Failed to refresh OAuth2 token. Aborted."));
    if (!owner().isLoggedIn() || owner().signInId() != signInId())
        return signInGone();
    // OAuth2 was disabled after the request was sent: the discarded token must not come back.
    if (!owner().isOAuth2Enabled())
        return refuse(QStringLiteral("Failed to refresh OAuth2 token. OAuth2 is not enabled."));
    if (outcome.hasStatus200())
        return succeeded(outcome);
    // Status 200 without success is a reply that was cut off: a network fault, not a refusal.
    if (outcome.reply.status == 0 || outcome.reply.status == 200) {
        const QString error = outcome.errorText();
        log().warning(QStringLiteral("Failed to refresh OAuth2 token. Will retry token refresh after %1. %2 %3")
                          .arg(Util::timeSpanText(networkRetryMs), error.isEmpty() ? QStringLiteral("Unknown error") : error,
                               outcome.problemText()));
        return finishAndRetry(networkRetryMs);
    }
    if (outcome.reply.status == 400)
        return refused();
    log().error(QStringLiteral("Failed to refresh OAuth2 token. %1%2").arg(outcome.errorText(), outcome.problemText()));
    retryAlongSchedule();
}

void OAuth2TokenRefresher::succeeded(const ExchangeOutcome& outcome) {
    const std::optional<OAuth2Reply> reply = readOAuth2Reply(outcome.reply.body, now());
    if (!reply) {
        log().error(QStringLiteral(
            "Failed to refresh OAuth2 token. Failed to parse server response. Response body maybe invalid or empty."));
        return finishAndRetry(networkRetryMs);
    }
    switch (m_slot.SetToken(reply->token, reply->expiryDate, signInId())) {
    case OAuth2TokenSlot::Stored::NotEncrypted:
        log().error(QStringLiteral(
            "Failed to refresh OAuth2 token. Got OAuth2 token, but failed to write it to login state since encryption failed."));
        return finishAndRetry(networkRetryMs);
    case OAuth2TokenSlot::Stored::SignInGone: return signInGone();
    case OAuth2TokenSlot::Stored::Busy: return finishAndRetry(networkRetryMs);
    case OAuth2TokenSlot::Stored::Yes: break;
    }
    log().information(QStringLiteral("OAuth2 token refreshed successfully. OAuth2 token expires in %1.")
                          .arg(Util::timeSpanText(now().msecsTo(reply->expiryDate))));
    forgetFailures();
    owner().raiseOAuth2Event(Event::OAuth2TokenRefreshed, m_slot.spec());
    updateRefreshTimer();
    finish(1);
}

void OAuth2TokenRefresher::endTurn() {
    clearFlag();
    m_turn.release();
}

void OAuth2TokenRefresher::forgetFailures() {
    if (!m_retry.isActive())
        return;
    m_retry.end();
    log().information(QStringLiteral("Ending OAuth2 token refresh retry process"));
}

void OAuth2TokenRefresher::takeFromFile() {
    log().information(QStringLiteral("OAuth2 token refreshed in another process. Loading the refreshed token in this process."));
    forgetFailures();
    owner().raiseOAuth2Event(Event::OAuth2TokenAvailable, m_slot.spec());
    updateRefreshTimer();
    finish(1);
}

void OAuth2TokenRefresher::refused() {
    if (isSettledElsewhere())
        return;
    // Another process may have renewed the OAuth 1.0 token, which invalidates the one that was sent. Try once with the new one.
    if (owner().tokens().areOthersThan(m_sentTokens) && !std::exchange(m_resent, true)) {
        log().warning(
            QStringLiteral("The OAuth1 token was renewed by another process. Refreshing OAuth2 token with the new one."));
        return sendRequest();
    }
    forgetFailures();
    giveUp(QStringLiteral("Current OAuth2 token cannot be refreshed anymore. Logging out (asynchronously) to force a re-login."));
}

void OAuth2TokenRefresher::startRetryProcess() {
    const OAuth2TokenSpec& spec = m_slot.spec();
    const std::optional<RetrySchedule> set = RetrySchedules::instance().find(owner().productKey(), spec);
    if (!set)
        log().information(QStringLiteral("Using default OAuth2 token refresh retry schedule"));
    const RetrySchedule schedule = set ? *set : defaultRetrySchedule();
    log().information(QStringLiteral("Starting OAuth2 token refresh retry process with following schedule:\n%1")
                          .arg(retryScheduleText(schedule)));
    m_retrySignInId = signInId();
    m_retry.start(schedule);
}

void OAuth2TokenRefresher::retryAlongSchedule() {
    if (!m_retry.isActive())
        startRetryProcess();
    const std::optional<qint64> interval = m_retry.next();
    if (interval) {
        log().information(
            QStringLiteral("OAuth2 token refresh retry process active: Retry attempts so far: %1 in %2. Next retry: in %3")
                .arg(m_retry.attempts())
                .arg(Util::timeSpanText(m_retry.elapsed()), Util::timeSpanText(*interval)));
        return finishAndRetry(static_cast<int>(*interval));
    }
    m_retry.end();
    // The last look at the file before the user is signed out.
    if (isSettledElsewhere())
        return;
    giveUp(
        QStringLiteral(
            "Permanently failed to refresh OAuth2 token after %1 attempts in %2. Giving up refresh and logging out (asynchronously) to force a re-login.")
            .arg(m_retry.attempts())
            .arg(Util::timeSpanText(m_retry.elapsed())));
}

void OAuth2TokenRefresher::OAuth2TokenRefreshedInAnotherProcess(const QString& consumerKey) {
    if (owner().productKey().isEmpty()) {
        log().error(QStringLiteral(
            "Received OAuth2TokenRefreshed event from another process. But consumer key is empty in product login session object."));
        return;
    }
    if (owner().productKey() != consumerKey)
        return;
    log().information(QStringLiteral("OAuth2 token refreshed in another process. Loading the refreshed token in this process."));
    (void)owner().catchUpWithFile(owner().signInId());
    OAuth2TokenAvailable();
}

} // namespace Velquor::WebServices::Internal
