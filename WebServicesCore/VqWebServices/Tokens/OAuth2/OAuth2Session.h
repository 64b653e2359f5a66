#pragma once

#include "Tokens/IRequestFlags.h"
#include "Tokens/ITokenOwner.h"
#include "Tokens/OAuth2/OAuth2TokenSlot.h"
#include "Tokens/Query/QueryWorker.h"
#include "Tokens/Refresh/RefreshWorker.h"

#include <QMutex>
#include <VqWebServices/OAuth2Token.h>
#include <memory>
#include <vector>

namespace Velquor::WebServices::Internal {

class OAuth2TokenFetcher;
class OAuth2TokenRefresher;
class RefreshController;
class TokenFetcher;
class TokenRefresher;

/// One OAuth2 token of one product with the workers that query and refresh it, and the calls of other threads to them.
///
/// Thread: any. Owner: the product's session, which outlives the workers; these live on the token operations thread and are
/// deleted there. Errors: results and log lines.
class OAuth2Session {
public:
    OAuth2Session(ITokenOwner& owner, const OAuth2TokenSpec& spec);

    /// What the workers share with those of the product's OAuth 1.0 tokens.
    struct Parts {
        IRequestFlags& flags;
        RefreshController& controller;
        TokenFetcher& tokenFetcher;
        TokenRefresher& tokenRefresher;
        QString keyDigest; ///< Replaces the consumer key in the names of locks.
        QThread* thread;
    };
    /// Creates the workers and moves them to the thread. Returns them in the order in which they must be deleted there.
    [[nodiscard]] std::vector<TokenWorker*> Activate(const Parts& parts);
    /// Forgets the workers, which are about to be deleted.
    void detach();

    // See OAuth2TokenSlot.
    [[nodiscard]] const OAuth2TokenSpec& spec() const { return m_slot.spec(); }
    [[nodiscard]] QString scope() const { return m_slot.scope(); }
    [[nodiscard]] OAuth2TokenData token() const { return m_slot.token(); }
    void adopt(const OAuth2TokenData& token) { m_slot.adopt(token); }
    void DiscardToken() { m_slot.DiscardToken(); }
    void Clear() { m_slot.Clear(); }
    [[nodiscard]] QString DescribeOAuth2Token() const { return m_slot.DescribeOAuth2Token(); }

    /// `waitToFinish`: waits for a query or refresh in progress, and queries a token when there is none. The caller holds no
    /// lock. Not on the workers' thread.
    [[nodiscard]] OAuth2Token GetOAuth2AccessToken(bool waitToFinish, bool refreshIfExpired);
    /// A synchronous call waits for the end and returns whether it succeeded. Not on the workers' thread.
    bool QueryOAuth2Token(bool synchronous);
    bool refreshToken(bool synchronous, RefreshWorker::Reason reason);
    [[nodiscard]] bool isRefreshTimerActive() const;
    /// The OAuth 1.0 tokens or the state of the sign-in have changed.
    void tokensChanged();

    /// Another process reports that it has obtained or renewed an OAuth2 token of the product with this key.
    void acquiredElsewhere();
    void refreshedElsewhere(const QString& consumerKey);

private:
    void waitForQuery();
    void waitForRefresh();
    [[nodiscard]] bool query();
    [[nodiscard]] OAuth2Token decryptedToken() const;
    [[nodiscard]] Log::ILogger& log() const { return *m_owner.services().loggers.oauth2; }

    ITokenOwner& m_owner;
    OAuth2TokenSlot m_slot;
    /// Guards the pointers, which are null before `Activate` and after `detach`. Workers are called under it, so that they cannot
    /// be deleted during the call. Nobody waits under it.
    mutable QMutex m_workerMutex;
    OAuth2TokenFetcher* m_fetcher = nullptr;
    OAuth2TokenRefresher* m_refresher = nullptr;
    std::shared_ptr<RunState> m_queries;
    std::shared_ptr<RunState> m_refreshes;
};

} // namespace Velquor::WebServices::Internal
