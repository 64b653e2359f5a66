#pragma once

#include "Tokens/IRequestFlags.h"
#include "Tokens/ITokenOwner.h"
#include "Tokens/Query/QueryWorker.h"
#include "Tokens/Refresh/RefreshWorker.h"

#include <QMutex>
#include <QObject>
#include <VqWebServices/OAuth2Token.h>
#include <memory>
#include <vector>

namespace Velquor::WebServices::Internal {

class OAuth2TokenFetcher;
class OAuth2TokenRefresher;
class RefreshController;
class TokenFetcher;
class TokenRefresher;

/// The OAuth2 token of one product for one spec, and the way to the workers that query and refresh it.
///
/// Thread: any; the token has a mutex of its own. Owner: the product's session, which outlives the workers; these live on the
/// token operations thread and are deleted there. Errors: results and log lines.
class OAuth2Session : public QObject {
    Q_OBJECT

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
    /// Nobody is asked any more: the workers are going away.
    void detach();

    [[nodiscard]] const OAuth2TokenSpec& spec() const { return m_spec; }
    /// The scope that is asked for: the spec's, or the configuration's for the spec of the older interface.
    [[nodiscard]] QString scope() const;
    [[nodiscard]] OAuth2TokenData token() const;

    enum class Stored { Yes, NotEncrypted, SignInGone, Busy };
    /// Encrypts and keeps a token that was just obtained, in memory and in the file.
    [[nodiscard]] Stored SetToken(const Util::SecretBytes& token, const QDateTime& expiryDate, const QString& signInId);
    /// Puts an encrypted token in place, in memory only.
    void replaceToken(const OAuth2TokenData& token);
    /// Takes a token of the file over when it is a newer one and can be decrypted.
    void adopt(const OAuth2TokenData& token);
    void DiscardToken();
    /// The user is signed out.
    void Clear();

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

    /// For the log: type, scope and remaining life.
    [[nodiscard]] QString DescribeOAuth2Token() const;

signals:
    void OAuth2TokenAvailable();
    void OAuth2TokenDiscarded();

private:
    void waitForQuery();
    void waitForRefresh();
    [[nodiscard]] bool query();
    [[nodiscard]] OAuth2Token decryptedToken() const;
    [[nodiscard]] Log::ILogger& log() const { return *m_owner.services().loggers.oauth2; }

    ITokenOwner& m_owner;
    const OAuth2TokenSpec m_spec;
    mutable QMutex m_tokenMutex;
    OAuth2TokenData m_token;
    /// Guards the pointers, which are null before the activation and after `detach`.
    mutable QMutex m_workerMutex;
    OAuth2TokenFetcher* m_fetcher = nullptr;
    OAuth2TokenRefresher* m_refresher = nullptr;
    std::shared_ptr<RunState> m_queries;
    std::shared_ptr<RunState> m_refreshes;
};

} // namespace Velquor::WebServices::Internal
