#include "Tokens/Query/TokenFetcher.h"

#include "Network/Diagnosis/DisplayUrl.h"
#include "Tokens/ModeWord.h"
#include "Tokens/Query/TokenQueryLog.h"
#include "Tokens/TokenReply.h"
#include "VqUtil/General/HumanText.h"

namespace Velquor::WebServices::Internal {

using Event = WebServicesPrivateCore::WebServicesEvent;

namespace {

constexpr int retryMs = 5000;
constexpr int maximumRetries = 5;

} // namespace

TokenFetcher::TokenFetcher(ITokenOwner& owner, IRequestFlags& flags, const QString& keyDigest)
    : QueryWorker(owner, flags, &Loggers::fetcher, std::make_unique<TokenQueryLog>(owner.services().loggers.fetcher),
                  {QStringLiteral("Velquor.WebServices.TokenQuery.") + keyDigest, RequestFlag::tokenQuery},
                  {retryMs, maximumRetries})
    , m_pending(owner.services().claims->makePendingRefresh(keyDigest, owner.services().lockFolder)) {
    log().information(QStringLiteral("Constructor"));
}

TokenFetcher::~TokenFetcher() {
    log().information(QStringLiteral("Destructor"));
}

bool TokenFetcher::CheckAutomaticLogin() {
    if (run().isBusy()) {
        log().information(QStringLiteral("Skipping token query. It is already in progress."));
        return true;
    }
    const OtherLogin other = owner().otherLogin();
    if (!other.isFound()) {
        log().information(QStringLiteral("No need to query tokens. No other product's login credentials found."));
        return false;
    }
    log().information(QStringLiteral("Found another product's (%1) login credentials to automatically login this product")
                          .arg(other.productName + QLatin1Char(':') + other.productKey));
    const Answer answer = ask(false);
    return answer == Answer::Started || answer == Answer::Skipped;
}

QString TokenFetcher::refusal() {
    return owner().otherLogin().isFound()
               ? QString()
               : QStringLiteral(
                   "Failed to query token. Client id or other product's session handle is empty. Possibly user logged out.");
}

QByteArray TokenFetcher::usableToken() const {
    const ProductTokens tokens = owner().tokens();
    return tokens.areComplete() ? tokens.accessToken : QByteArray();
}

void TokenFetcher::announceLoaded() {
    log().information(QStringLiteral("Token acquired in another process. Loading the token in this process."));
    emit TokenAvailable();
    owner().raiseEvent(Event::TokenAvailable);
}

bool TokenFetcher::request() {
    log().information(QStringLiteral("Getting token %1").arg(modeAdverb(isSynchronous())));
    const QUrl url = owner().endPoint(QStringLiteral("AccountServerUrl"), QStringLiteral("AccessTokenEndPoint"));
    const ConfigurationPointer configuration = owner().configuration();
    const Util::SecretBytes handle = services().cryptor->decrypt(owner().otherLogin().sessionHandle);
    QNetworkRequest request;
    if (!configuration || handle.isEmpty()
        || !signGet(*services().oauthHost, url, consumerKeys(*configuration), request,
                    {{"oauth_session_handle", handle.view()}})) {
        log().error(QStringLiteral("Failed to sign url %1: Velquor::OAuth::VqOAuthWrapper::CreateOauthParameterString failed.")
                        .arg(displayUrl(url)));
        return false;
    }
    log().information(QStringLiteral("Starting network operation in separate thread to query token: %1").arg(displayUrl(url)));
    send(request, QStringLiteral("GET"), {});
    return true;
}

void TokenFetcher::handleReply(const ExchangeOutcome& outcome) {
    log().information(QStringLiteral("Token query network operation thread finished"));
    if (isAborted())
        return finish(0);
    // The user may have signed out, or another user signed in, during the request.
    if (!owner().isLoggedIn() || owner().signInId() != signInId())
        return ignoreResult();
    log().information(QStringLiteral("Token query thread finished"));
    if (outcome.hasStatus200())
        storeReply(outcome);
    else
        handleFailure(outcome);
}

void TokenFetcher::storeReply(const ExchangeOutcome& outcome) {
    const QMap<QString, QByteArray> reply = replyParameters(outcome.reply.body);
    const std::optional<ProductTokens> tokens = readTokenReply(reply, now(), *services().cryptor, log());
    if (!tokens) {
        log().error(QStringLiteral("Failed to query token. Server returned invalid response body. %1")
                        .arg(outcome.reply.dump.join(QLatin1Char('\n'))));
        noteFinalFailure();
        return finish(0);
    }
    log().information(QStringLiteral("Got token"));
    const QDateTime sessionExpiry = expiryFrom(reply.value(QStringLiteral("oauth_authorization_expires_in")), now());
    switch (owner().store(*tokens, sessionExpiry, signInId())) {
    case StoreResult::SignInGone: return ignoreResult();
    case StoreResult::Busy: return countFailure();
    // Another process finds no token in the file, and obtains one that makes this one invalid.
    case StoreResult::Unwritten: m_pending->set(); [[fallthrough]];
    case StoreResult::Stored: return stored(reply.value(QStringLiteral("x_oauth_user_name")));
    }
}

void TokenFetcher::stored(const QByteArray& userName) {
    noteAnnounced();
    // Some servers do not send the user name here.
    log().information(QStringLiteral("User %1 automatically logged in using another product's login credentials")
                          .arg(userName.isEmpty() ? owner().user() : QString::fromUtf8(userName)));
    emit TokenAvailable();
    owner().raiseEvent(Event::TokenAcquired);
    owner().raiseEvent(Event::TokenAvailable);
    finish(1);
}

void TokenFetcher::handleFailure(const ExchangeOutcome& outcome) {
    const bool isClock = isClockProblem(outcome.reply.problem);
    if (isClock)
        services().clockProblemSeen();
    log().error(QStringLiteral("Failed to query token. %1%2").arg(outcome.errorText(), outcome.problemText()));
    if (outcome.reply.status == 400 && !isClock)
        giveUp();
    else
        countFailure();
}

void TokenFetcher::countFailure() {
    noteFailure();
    if (mayRetry()) {
        log().warning(QStringLiteral("Will retry token query after %1").arg(Util::timeSpanText(retryMs)));
        startQueryTimer();
        return finish(0);
    }
    log().error(QStringLiteral("Failed to query token after %1 attempts. Giving up token query.").arg(maximumRetries));
    giveUp();
}

void TokenFetcher::giveUp() {
    log().error(QStringLiteral(
        "Failed to login automatically using another product's login credentials. Try to logout and login again."));
    noteFinalFailure();
    finish(0);
    owner().raiseEvent(Event::TokenQueryFailed);
}

void TokenFetcher::AbortTokenQuery() {
    if (isInProgressElsewhere()) {
        log().information(QStringLiteral("Ignoring unexpected request to abort token query in progress in another process"));
    } else if (run().isBusy()) {
        log().information(QStringLiteral("Token query is in progress. Aborting it."));
        abort();
        log().information(QStringLiteral("Token query aborted successfully"));
    }
}

} // namespace Velquor::WebServices::Internal
