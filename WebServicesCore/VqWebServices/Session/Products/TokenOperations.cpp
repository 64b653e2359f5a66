#include "Session/Products/TokenOperations.h"

#include "Session/Products/ObjectDeleter.h"
#include "Tokens/Refresh/RefreshController.h"
#include "Tokens/Refresh/TokenRefreshLog.h"
#include "Values/ServerName.h"

#include <QMutexLocker>
#include <utility>

namespace Velquor::WebServices::Internal {

TokenOperations::TokenOperations(ITokenOwner& owner, std::unique_ptr<IRequestFlags> flags, const QString& keyDigest)
    : m_owner(owner)
    , m_flags(std::move(flags))
    , m_keyDigest(keyDigest)
    , m_thread(owner.services().threads->make(QStringLiteral("token operations"), Util::IThreads::Dispatcher::System))
    , m_fetcher(new TokenFetcher(owner, *m_flags, keyDigest))
    , m_controller(new RefreshController(keyDigest, owner.productKey(), owner.services()))
    , m_refresher(new TokenRefresher(owner, *m_controller, *m_flags, m_fetcher->runState(),
                                     owner.services().claims->makePendingRefresh(keyDigest, owner.services().lockFolder)))
    , m_deleter(new ObjectDeleter(owner.services().loggers.product))
    , m_queries(m_fetcher->runState())
    , m_refreshes(m_refresher->runState())
    , m_caches(owner, m_refreshes, keyDigest) {
    ObjectDeleter* const deleter = m_deleter;
    CacheStore* const cacheStore = m_caches.store();
    deleter->cacheStore = cacheStore;
    deleter->tokenFetcher = m_fetcher;
    deleter->refreshController = m_controller;
    deleter->tokenRefresher = m_refresher;
    QThread* const thread = m_thread.get();
    for (QObject* const object : std::initializer_list<QObject*>{deleter, cacheStore, m_fetcher, m_controller, m_refresher})
        object->moveToThread(thread);
    QObject::connect(thread, &QThread::started, deleter, [this, deleter] {
        m_threadId = reinterpret_cast<quintptr>(QThread::currentThreadId());
        deleter->Start();
    });
    QObject::connect(thread, &QThread::finished, deleter, &QObject::deleteLater);
    QObject::connect(m_fetcher, &TokenFetcher::TokenAvailable, cacheStore, &CacheStore::TokenAvailable);
    QObject::connect(m_fetcher, &TokenFetcher::TokenAvailable, m_refresher, &TokenRefresher::TokenAvailable);
    QObject::connect(m_fetcher, &TokenFetcher::TokenQueryFinished, m_refresher, &TokenRefresher::TokenAvailable);
    owner.services().threads->start(*thread);
}

TokenOperations::~TokenOperations() {
    requestStop();
    waitForThread();
}

bool TokenOperations::activate(OAuth2Session& session) {
    const QMutexLocker lock(&m_mutex);
    if (!m_refresher)
        return false;
    const std::vector<TokenWorker*> workers =
        session.Activate({*m_flags, *m_controller, *m_fetcher, *m_refresher, m_keyDigest, m_thread.get()});
    m_deleter->oauth2Workers.insert(m_deleter->oauth2Workers.end(), workers.begin(), workers.end());
    m_oauth2Sessions += &session;
    return true;
}

void TokenOperations::requestStop() {
    const QMutexLocker lock(&m_mutex);
    if (!m_refresher)
        return;
    m_caches.close();
    for (OAuth2Session* const session : std::as_const(m_oauth2Sessions))
        session->detach();
    QMetaObject::invokeMethod(
        m_refresher,
        [fetcher = m_fetcher, refresher = m_refresher, thread = m_thread.get(), oauth2 = m_deleter->oauth2Workers,
         caches = m_deleter->cacheStore] {
            caches->abort();
            for (TokenWorker* const worker : oauth2)
                worker->abort();
            refresher->AbortRefresh();
            fetcher->AbortTokenQuery();
            thread->exit(0);
        },
        Qt::QueuedConnection);
    m_fetcher = nullptr;
    m_refresher = nullptr;
}

void TokenOperations::waitForThread() {
    if (!m_thread->isRunning())
        return;
    Log::ILogger& logger = *m_owner.services().loggers.product;
    const QString id = QString::number(m_threadId);
    const QString server = serverName(m_owner.server());
    logger.information(QStringLiteral("Waiting for token operations thread %1 to finish, server %2").arg(id, server));
    m_owner.services().threads->join(*m_thread);
    logger.information(QStringLiteral("Finished waiting for token operations thread %1, server %2").arg(id, server));
}

bool TokenOperations::isStopped() const {
    return !m_thread->isRunning();
}

bool TokenOperations::checkAutomaticLogin() {
    const QMutexLocker lock(&m_mutex);
    return m_fetcher && m_fetcher->CheckAutomaticLogin();
}

bool TokenOperations::refreshToken(bool synchronous, RefreshWorker::Reason reason) {
    RunWaiter waiter(m_refreshes);
    RefreshWorker::Answer answer = RefreshWorker::Answer::Refused;
    {
        const QMutexLocker lock(&m_mutex);
        if (m_refresher)
            answer = m_refresher->ask(synchronous, reason);
    }
    if (answer == RefreshWorker::Answer::Wait) {
        const TokenRefreshLog steps(m_owner.services().loggers.refresher);
        return RefreshWorker::waitForEnd(waiter, m_owner.services(), steps);
    }
    return answer != RefreshWorker::Answer::Refused;
}

void TokenOperations::waitForTokenQuery() {
    if (!m_queries->isBusy())
        return;
    RunWaiter waiter(m_queries);
    Log::ILogger& logger = *m_owner.services().loggers.product;
    {
        const QMutexLocker lock(&m_mutex);
        const bool elsewhere = m_fetcher && m_fetcher->isInProgressElsewhere();
        logger.information(elsewhere ? QStringLiteral("Token query is in progress in another process. Waiting for it to finish.")
                                     : QStringLiteral("Token query is in progress. Waiting for it to finish."));
    }
    if (waiter.waitForEnd())
        logger.information(QStringLiteral("Finished waiting for token query. Token query successful."));
    else
        logger.error(QStringLiteral("Finished waiting for token query. Token query failed."));
}

void TokenOperations::waitForRefresh() {
    if (!m_refreshes->isBusy())
        return;
    RunWaiter waiter(m_refreshes);
    Log::ILogger& logger = *m_owner.services().loggers.product;
    logger.information(QStringLiteral("Token refresh is already in progress"));
    logger.information(QStringLiteral("Waiting for token refresh to finish"));
    const TokenRefreshLog steps(m_owner.services().loggers.refresher);
    (void)RefreshWorker::waitInLoop(waiter, m_owner.services(), steps);
}

bool TokenOperations::isTokenRefreshTimerActive() const {
    const QMutexLocker lock(&m_mutex);
    return m_refresher && m_refresher->isTimerActive();
}

void TokenOperations::tokensChanged() {
    const QMutexLocker lock(&m_mutex);
    if (!m_refresher)
        return;
    QMetaObject::invokeMethod(m_refresher, &TokenRefresher::TokenAvailable, Qt::QueuedConnection);
    for (OAuth2Session* const session : std::as_const(m_oauth2Sessions))
        session->tokensChanged();
}

void TokenOperations::tokenRefreshedElsewhere(const QString& consumerKey) {
    const QMutexLocker lock(&m_mutex);
    if (m_refresher)
        QMetaObject::invokeMethod(
            m_refresher, [refresher = m_refresher, consumerKey] { refresher->TokenRefreshedInAnotherProcess(consumerKey); },
            Qt::QueuedConnection);
}

void TokenOperations::tokenAcquiredElsewhere() {
    const QMutexLocker lock(&m_mutex);
    if (m_fetcher)
        QMetaObject::invokeMethod(m_fetcher, &TokenFetcher::TokenAcquiredInAnotherProcess, Qt::QueuedConnection);
}

} // namespace Velquor::WebServices::Internal
