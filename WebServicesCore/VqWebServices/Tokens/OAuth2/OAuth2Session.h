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
        QString keyDigest; ///< Stands for the consumer key in the names of locks.
        QThread* thread;
    };
    /// Makes the workers on the thread; the result are the objects that are to be deleted there, in this order.
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

    /// `waitToFinish`: waits for what is under way and obtains a token when there is none. With no lock held. Not the workers'
    /// thread.
    [[nodiscard]] OAuth2Token GetOAuth2AccessToken(bool waitToFinish, bool refreshIfExpired);
    /// A synchronous one waits for the end and tells whether it succeeded. Not the workers' thread.
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
    /// Guards the pointers, which are null before the activation and after `detach`.
    mutable QMutex m_workerMutex;
    OAuth2TokenFetcher* m_fetcher = nullptr;
    OAuth2TokenRefresher* m_refresher = nullptr;
    std::shared_ptr<RunState> m_queries;
    std::shared_ptr<RunState> m_refreshes;
};

} // namespace Velquor::WebServices::Internal
