#pragma once

#include "Caches/CacheClient.h"
#include "Tokens/IRequestFlags.h"
#include "Tokens/OAuth2/OAuth2Session.h"
#include "Tokens/Query/TokenFetcher.h"
#include "Tokens/Refresh/TokenRefresher.h"

#include <QMutex>
#include <QThread>
#include <atomic>
#include <memory>

namespace Velquor::WebServices::Internal {

class ObjectDeleter;

/// The token operations thread of one product, its workers, and the calls to them from other threads.
///
/// Thread: any. Owner: the product's session. A caller that waits holds none of the locks here. Errors: results; the workers log.
class TokenOperations {
public:
    /// Starts the thread. `keyDigest` represents the consumer key in the names of locks.
    TokenOperations(ITokenOwner& owner, std::unique_ptr<IRequestFlags> flags, const QString& keyDigest);
    ~TokenOperations();
    TokenOperations(const TokenOperations&) = delete;
    TokenOperations& operator=(const TokenOperations&) = delete;

    /// Ends what is under way and asks the thread to end; does not wait for it.
    void requestStop();
    /// Waits for the thread, without limit: its steps are short. Not on the token operations thread itself.
    void waitForThread();
    [[nodiscard]] bool isStopped() const;
    [[nodiscard]] bool isTokenThread() const { return QThread::currentThread() == m_thread.get(); }

    /// The product's caches, which live on this thread too.
    [[nodiscard]] CacheClient& caches() { return m_caches; }

    /// Creates the session's workers on this thread. False when the thread is ending or has ended.
    bool activate(OAuth2Session& session);

    /// Starts a query when another product's sign-in was found; true when one is under way.
    bool checkAutomaticLogin();
    /// A synchronous refresh waits for the end and returns whether it succeeded; an asynchronous one returns whether it was
    /// started.
    bool refreshToken(bool synchronous, RefreshWorker::Reason reason);
    /// Wait for a query or refresh of this or another process; return at once when there is none.
    void waitForTokenQuery();
    void waitForRefresh();

    [[nodiscard]] bool isQueryInProgress() const { return m_queries->isBusy(); }
    [[nodiscard]] bool isRefreshInProgress() const { return m_refreshes->isBusy(); }
    [[nodiscard]] bool isTokenRefreshTimerActive() const;

    /// The tokens or the state of the sign-in have changed.
    void tokensChanged();
    /// Another process reports what it has done.
    void tokenRefreshedElsewhere(const QString& consumerKey);
    void tokenAcquiredElsewhere();

private:
    ITokenOwner& m_owner;
    const std::unique_ptr<IRequestFlags> m_flags;
    const QString m_keyDigest;
    const std::unique_ptr<QThread> m_thread;
    /// Guards the pointers, which are null after a stop was requested. The thread deletes the objects.
    mutable QMutex m_mutex;
    TokenFetcher* m_fetcher;
    RefreshController* const m_controller;
    TokenRefresher* m_refresher;
    ObjectDeleter* const m_deleter; ///< Valid until `requestStop`.
    QVector<OAuth2Session*> m_oauth2Sessions;
    const std::shared_ptr<RunState> m_queries;
    const std::shared_ptr<RunState> m_refreshes;
    CacheClient m_caches;
    std::atomic<quintptr> m_threadId{0};
};

} // namespace Velquor::WebServices::Internal
