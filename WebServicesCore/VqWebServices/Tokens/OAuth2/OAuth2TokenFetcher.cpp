#include "Tokens/OAuth2/OAuth2TokenFetcher.h"

#include "Network/Diagnosis/BodyMask.h"
#include "Network/Diagnosis/DisplayUrl.h"
#include "Tokens/OAuth2/OAuth2Exchange.h"
#include "Tokens/OAuth2/OAuth2QueryLog.h"
#include "Tokens/OAuth2/OAuth2TokenSlot.h"
#include "Values/WebServicesConfigurationImp.h"
#include "VqUtil/General/HumanText.h"

#include <limits>
#include <utility>

namespace Velquor::WebServices::Internal {

using Event = WebServicesPrivateCore::WebServicesEvent;

namespace {

constexpr int retryMs = 30000;
constexpr int noMaximum = std::numeric_limits<int>::max() - 1;

} // namespace

OAuth2TokenFetcher::OAuth2TokenFetcher(ITokenOwner& owner, OAuth2TokenSlot& slot, IRequestFlags& flags, const QString& keyDigest)
    : QueryWorker(owner, flags, &Loggers::oauth2Fetcher, std::make_unique<OAuth2QueryLog>(owner.services().loggers.oauth2Fetcher),
                  {slot.queryLockName(keyDigest), slot.queryFlag()}, {retryMs, noMaximum})
    , m_slot(slot) {}

OAuth2TokenFetcher::~OAuth2TokenFetcher() {
    showQuery(false);
}

void OAuth2TokenFetcher::showQuery(bool isUnderWay) {
    if (std::exchange(m_isShown, isUnderWay) == isUnderWay)
        return;
    if (isUnderWay)
        m_flags.set(RequestFlag::oauth2Query);
    else
        m_flags.clear(RequestFlag::oauth2Query);
}

void OAuth2TokenFetcher::emitFinished() {
    showQuery(false);
    emit OAuth2TokenQueryFinished();
}

void OAuth2TokenFetcher::gaveUpWaiting() {
    startQueryTimer();
    finish(0);
}

void OAuth2TokenFetcher::TokenAcquired() {
    if (!owner().isOAuth2Enabled())
        return;
    if (m_slot.token().isValid(now())) {
        log().information(QStringLiteral(
            "Received web services event TokenAcquired and ignored. OAuth2 token is already available and doesn't need to be queried."));
    } else if (run().isBusy()) {
        log().information(
            QStringLiteral("Received web services event TokenAcquired and ignored. OAuth2 token query is already in progress."));
    } else if (!owner().tokens().areComplete()) {
        log().information(QStringLiteral("Received web services event TokenAcquired and ignored. There is no token."));
    } else {
        log().information(QStringLiteral("Received web services event TokenAcquired. Starting asynchronous OAuth2 token query."));
        (void)ask(false);
    }
}

void OAuth2TokenFetcher::TokenRefreshed() {
    if (owner().isOAuth2Enabled() && !m_slot.token().isPresent() && !run().isBusy())
        (void)ask(false);
}

QString OAuth2TokenFetcher::refusal() {
    m_resent = false;
    const ConfigurationPointer configuration = owner().configuration();
    if (!configuration || !WebServicesConfigurationImp::of(*configuration).isValid())
        return QStringLiteral("Failed to query OAuth2 token. Current configuration is not valid.");
    if (!owner().isOAuth2Enabled())
        return QStringLiteral("Cannot query OAuth2 token. OAuth2 is not enabled.");
    if (!hasOAuth2Keys(*configuration))
        return QStringLiteral("Cannot query OAuth2 token. OAuth2 keys not set.");
    const auto unusable = QStringLiteral("Cannot query OAuth2 token. %1.");
    if (!owner().isLoggedIn() || !owner().tokens().areComplete())
        return unusable.arg(QStringLiteral("No token found"));
    return owner().tokens().areExpired(now()) ? unusable.arg(QStringLiteral("Token has expired")) : QString();
}

QByteArray OAuth2TokenFetcher::usableToken() const {
    const OAuth2TokenData token = m_slot.token();
    return token.isValid(now()) ? token.token : QByteArray();
}

void OAuth2TokenFetcher::announceLoaded() {
    log().information(
        QStringLiteral("OAuth2 access token acquired in another process. Loading the OAuth2 token in this process."));
    owner().raiseOAuth2Event(Event::OAuth2TokenAvailable, m_slot.spec());
}

bool OAuth2TokenFetcher::request() {
    log().information(QStringLiteral("Getting OAuth2 token"));
    const ConfigurationPointer configuration = owner().configuration();
    // The server expects another word for the type here than in a refresh.
    const QString type = m_slot.spec().GetType() == JWT ? QStringLiteral("jwt") : QString();
    m_sentTokens = owner().tokens();
    const Util::SecretBytes form =
        configuration ? oauth2Form(*configuration, m_sentTokens, *services().cryptor, type, m_slot.scope()) : Util::SecretBytes();
    if (form.isEmpty()) {
        log().error(QStringLiteral("Failed to query OAuth2 token. Failed to decrypt the access token."));
        return false;
    }
    const QUrl url = owner().endPoint(QStringLiteral("OAuth2AccountServerUrl"), QStringLiteral("OAuth2AccessTokenEndPoint"));
    showQuery(true);
    send(oauth2Request(url), QStringLiteral("POST"), QByteArray(form.data(), form.size()));
    return true;
}

void OAuth2TokenFetcher::handleReply(const ExchangeOutcome& outcome) {
    if (isAborted())
        return finish(0);
    // The user may have signed out, or another user signed in, during the request.
    if (!owner().isLoggedIn() || owner().signInId() != signInId())
        return ignoreResult();
    // OAuth2 was disabled after the request was sent: the discarded token must not come back.
    if (!owner().isOAuth2Enabled()) {
        log().information(QStringLiteral("OAuth2 token query finished. But ignoring the result since OAuth2 is not enabled."));
        return finish(0);
    }
    const std::optional<OAuth2Reply> reply = outcome.hasStatus200() ? readOAuth2Reply(outcome.reply.body, now()) : std::nullopt;
    if (reply)
        return succeeded(*reply);
    failed(outcome);
}

void OAuth2TokenFetcher::failed(const ExchangeOutcome& outcome) {
    // Another process may have signed the user out, or renewed the OAuth 1.0 token, which invalidates the one that was sent.
    if (owner().catchUpWithFile(signInId()) == FileLook::SignInGone)
        return ignoreResult();
    if (owner().tokens().areOthersThan(m_sentTokens) && !std::exchange(m_resent, true)) {
        if (!request())
            finish(0);
        return;
    }
    finishAndRetry(failureText(outcome, Util::timeSpanText(retryMs)));
}

QString OAuth2TokenFetcher::failureText(const ExchangeOutcome& outcome, const QString& retry) const {
    if (outcome.reply.isNull)
        return QStringLiteral("Failed to get OAuth2 token. Reply object is nullptr. Will retry after %1").arg(retry);
    if (!outcome.hasStatus200())
        return QStringLiteral("Failed to get OAuth2 token. Will retry after %1. %2")
            .arg(retry, outcome.errorText() + outcome.problemText());
    if (outcome.reply.body.isEmpty())
        return QStringLiteral("Failed to get OAuth2 token. Will retry after %1. Response body from server is empty. %2")
            .arg(retry, outcome.reply.dump.join(QLatin1Char('\n')));
    const QUrl url = owner().endPoint(QStringLiteral("OAuth2AccountServerUrl"), QStringLiteral("OAuth2AccessTokenEndPoint"));
    return QStringLiteral(
               "Failed to get OAuth2 token. Url: %1. Failed to parse server response. Will retry after %2. Response body:\n%3")
        .arg(displayUrl(url), retry, maskedBody(outcome.reply.body, QString::fromLatin1(outcome.reply.header("Content-Type"))));
}

void OAuth2TokenFetcher::finishAndRetry(const QString& text) {
    log().error(text);
    noteFailure();
    startQueryTimer();
    finish(0);
    owner().raiseOAuth2Event(Event::OAuth2TokenQueryFailed, m_slot.spec());
}

void OAuth2TokenFetcher::succeeded(const OAuth2Reply& reply) {
    log().information(QStringLiteral("Got OAuth2 token"));
    switch (m_slot.SetToken(reply.token, reply.expiryDate, signInId())) {
    case OAuth2TokenSlot::Stored::NotEncrypted:
        return finishAndRetry(QStringLiteral(
            "Failed to get OAuth2 token. Got OAuth2 token, but failed to write it to login state since encryption failed."));
    case OAuth2TokenSlot::Stored::SignInGone: return ignoreResult();
    case OAuth2TokenSlot::Stored::Busy: return gaveUpWaiting();
    case OAuth2TokenSlot::Stored::Yes: break;
    }
    noteAnnounced();
    finish(1);
    owner().raiseOAuth2Event(Event::OAuth2TokenAcquired, m_slot.spec());
    owner().raiseOAuth2Event(Event::OAuth2TokenAvailable, m_slot.spec());
}

} // namespace Velquor::WebServices::Internal
