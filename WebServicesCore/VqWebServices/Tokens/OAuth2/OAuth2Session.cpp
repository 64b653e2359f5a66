#include "Tokens/OAuth2/OAuth2Session.h"

#include "Tokens/OAuth2/OAuth2QueryLog.h"
#include "Tokens/OAuth2/OAuth2RefreshLog.h"
#include "Tokens/OAuth2/OAuth2TokenFetcher.h"
#include "Tokens/OAuth2/OAuth2TokenRefresher.h"
#include "Tokens/Query/TokenFetcher.h"
#include "Tokens/Refresh/TokenRefresher.h"
#include "Values/CallerText.h"
#include "Values/OAuth2TokenImp.h"

#include <QMutexLocker>

namespace Velquor::WebServices::Internal {

OAuth2Session::OAuth2Session(ITokenOwner& owner, const OAuth2TokenSpec& spec)
    : m_owner(owner)
    , m_slot(owner, spec)
    , m_queries(std::make_shared<RunState>())
    , m_refreshes(std::make_shared<RunState>()) {
    log().information(QStringLiteral("OAuth2Session constructor"));
}

std::vector<TokenWorker*> OAuth2Session::Activate(const Parts& parts) {
    log().information(QStringLiteral("Activating OAuth2Session"));
    auto* const fetcher = new OAuth2TokenFetcher(m_owner, m_slot, parts.flags, parts.keyDigest);
    auto* const refresher =
        new OAuth2TokenRefresher(m_owner, m_slot, parts.flags, parts.controller, parts.tokenRefresher, fetcher->runState());
    QObject::connect(&parts.tokenFetcher, &TokenFetcher::TokenAvailable, fetcher, &OAuth2TokenFetcher::TokenAcquired);
    QObject::connect(&parts.tokenRefresher, &TokenRefresher::TokenRefreshed, fetcher, &OAuth2TokenFetcher::TokenRefreshed);
    QObject::connect(&parts.tokenRefresher, &TokenRefresher::TokenRefreshed, refresher, &OAuth2TokenRefresher::TokenRefreshed);
    QObject::connect(fetcher, &OAuth2TokenFetcher::OAuth2TokenQueryFinished, refresher,
                     &OAuth2TokenRefresher::OAuth2TokenAvailable);
    // Always queued: a token may change on the workers' own thread, under locks that the refresher needs.
    QObject::connect(&m_slot, &OAuth2TokenSlot::OAuth2TokenAvailable, refresher, &OAuth2TokenRefresher::OAuth2TokenAvailable,
                     Qt::QueuedConnection);
    QObject::connect(&m_slot, &OAuth2TokenSlot::OAuth2TokenDiscarded, refresher, &OAuth2TokenRefresher::OAuth2TokenDiscarded,
                     Qt::QueuedConnection);
    for (QObject* const worker : std::initializer_list<QObject*>{fetcher, refresher})
        worker->moveToThread(parts.thread);
    const QMutexLocker lock(&m_workerMutex);
    m_fetcher = fetcher;
    m_refresher = refresher;
    m_queries = fetcher->runState();
    m_refreshes = refresher->runState();
    // The refresher first, since it watches the queries of the fetcher.
    return {refresher, fetcher};
}

void OAuth2Session::detach() {
    const QMutexLocker lock(&m_workerMutex);
    m_fetcher = nullptr;
    m_refresher = nullptr;
}

bool OAuth2Session::QueryOAuth2Token(bool synchronous) {
    if (!m_owner.tokens().areComplete()) {
        log().error(QStringLiteral("QueryOAuth2Token called when there is no token"));
        return false;
    }
    // Before the query starts, or its end could be missed.
    RunWaiter waiter(m_queries);
    QueryWorker::Answer answer = QueryWorker::Answer::Refused;
    {
        const QMutexLocker lock(&m_workerMutex);
        if (m_fetcher)
            answer = m_fetcher->ask(synchronous);
    }
    if (answer == QueryWorker::Answer::Wait || answer == QueryWorker::Answer::Joined) {
        const OAuth2QueryLog steps(m_owner.services().loggers.oauth2Fetcher);
        return QueryWorker::waitForEnd(waiter, answer, steps);
    }
    return answer != QueryWorker::Answer::Refused;
}

bool OAuth2Session::refreshToken(bool synchronous, RefreshWorker::Reason reason) {
    RunWaiter waiter(m_refreshes);
    RefreshWorker::Answer answer = RefreshWorker::Answer::Refused;
    {
        const QMutexLocker lock(&m_workerMutex);
        if (m_refresher)
            answer = m_refresher->ask(synchronous, reason);
    }
    if (answer == RefreshWorker::Answer::Wait) {
        const OAuth2RefreshLog steps(m_owner.services().loggers.oauth2Refresher);
        return RefreshWorker::waitForEnd(waiter, m_owner.services(), steps);
    }
    return answer != RefreshWorker::Answer::Refused;
}

void OAuth2Session::waitForQuery() {
    if (!m_queries->isBusy())
        return;
    RunWaiter waiter(m_queries);
    log().information(QStringLiteral("GetOAuth2AccessToken: OAuth2 token query is in progress. Waiting for it to finish."));
    (void)waiter.waitForEnd();
    log().information(QStringLiteral("GetOAuth2AccessToken: Finished waiting for OAuth2 token query."));
}

void OAuth2Session::waitForRefresh() {
    if (!m_refreshes->isBusy())
        return;
    RunWaiter waiter(m_refreshes);
    log().information(QStringLiteral("GetOAuth2AccessToken: Waiting for OAuth2 token refresh to finish in this process"));
    (void)waiter.wait(m_owner.services().tokenTimeoutMs);
    log().information(QStringLiteral("GetOAuth2AccessToken: Finished waiting for OAuth2 token refresh"));
}

bool OAuth2Session::query() {
    log().information(
        QStringLiteral("GetOAuth2AccessToken: OAuth2 token not queried yet. Initiating query and waiting for it to finish."));
    (void)QueryOAuth2Token(true);
    if (!token().isPresent()) {
        log().error(QStringLiteral(
            "GetOAuth2AccessToken: Finished waiting. OAuth2 access token query failed in this process. Returning empty token."));
        return false;
    }
    log().information(QStringLiteral(
        "GetOAuth2AccessToken: Finished waiting. OAuth2 access token query successfully finished in this process."));
    return true;
}

OAuth2Token OAuth2Session::GetOAuth2AccessToken(bool waitToFinish, bool refreshIfExpired) {
    if (waitToFinish) {
        waitForQuery();
        waitForRefresh();
    }
    if (!token().isPresent()) {
        if (!waitToFinish) {
            log().information(QStringLiteral(
                "GetOAuth2AccessToken: Oauth2 token not found. Maybe not queried yet. Returning empty token without waiting since waitToFinish is false."));
            return {};
        }
        if (!query())
            return {};
    }
    if (token().isExpired(m_owner.services().now()) && refreshIfExpired) {
        log().information(QStringLiteral("GetOAuth2AccessToken: OAuth2 token has expired. Refreshing it synchronously."));
        (void)refreshToken(true, RefreshWorker::Reason::Expired);
    }
    return decryptedToken();
}

OAuth2Token OAuth2Session::decryptedToken() const {
    const OAuth2TokenData held = token();
    if (!held.isPresent())
        return {};
    if (held.isExpired(m_owner.services().now())) {
        log().warning(QStringLiteral("GetOAuth2AccessToken: OAuth2 token has expired. Returning empty token."));
        return {};
    }
    OAuth2Token made;
    OAuth2TokenImp::of(made).token = wideText(m_owner.services().cryptor->decrypt(held.token).toText());
    OAuth2TokenImp::of(made).spec = spec();
    return made;
}

bool OAuth2Session::isRefreshTimerActive() const {
    const QMutexLocker lock(&m_workerMutex);
    return m_refresher && m_refresher->isTimerActive();
}

void OAuth2Session::tokensChanged() {
    const QMutexLocker lock(&m_workerMutex);
    if (m_refresher)
        QMetaObject::invokeMethod(m_refresher, &OAuth2TokenRefresher::OAuth2TokenAvailable, Qt::QueuedConnection);
}

void OAuth2Session::acquiredElsewhere() {
    const QMutexLocker lock(&m_workerMutex);
    if (m_fetcher)
        QMetaObject::invokeMethod(m_fetcher, &OAuth2TokenFetcher::OAuth2TokenAcquiredInAnotherProcess, Qt::QueuedConnection);
}

void OAuth2Session::refreshedElsewhere(const QString& consumerKey) {
    const QMutexLocker lock(&m_workerMutex);
    if (!m_refresher)
        return;
    QMetaObject::invokeMethod(
        m_refresher, [refresher = m_refresher, consumerKey] { refresher->OAuth2TokenRefreshedInAnotherProcess(consumerKey); },
        Qt::QueuedConnection);
}

} // namespace Velquor::WebServices::Internal
