#pragma once

#include "Tokens/IRequestFlags.h"
#include "Tokens/OAuth2/RetryProcess.h"
#include "Tokens/Refresh/RefreshController.h"
#include "Tokens/Refresh/RefreshWorker.h"

#include <QElapsedTimer>

namespace Velquor::WebServices::Internal {

class OAuth2TokenSlot;
struct OAuth2Reply;

/// Renews the OAuth2 token of a session before it expires, with the product's OAuth 1.0 token, which it lets be renewed first
/// when that has expired. It never runs together with an OAuth 1.0 refresh of the same key, in any process of the user.
///
/// What the server answers with an error is tried again along the retry schedule; at its end, or when the server refuses for
/// good, the user is signed out. Thread, owner and errors: as of TokenWorker.
class OAuth2TokenRefresher : public RefreshWorker {
    Q_OBJECT

public:
    /// `tokenRefresher` lives on the same thread and goes after this; `queries`: the token queries of the session.
    OAuth2TokenRefresher(ITokenOwner& owner, OAuth2TokenSlot& slot, IRequestFlags& flags, RefreshController& controller,
                         RefreshWorker& tokenRefresher, std::shared_ptr<RunState> queries);
    ~OAuth2TokenRefresher() override;

public slots:
    void OAuth2TokenAvailable() { TokenAvailable(); }
    void OAuth2TokenDiscarded() { stopRefreshTimer(); }
    /// The OAuth 1.0 token was renewed: a refresh that was put off because of it can be done now.
    void TokenRefreshed();
    void OAuth2TokenRefreshedInAnotherProcess(const QString& consumerKey);

protected:
    [[nodiscard]] QString timerStopReason() const override;
    [[nodiscard]] QDateTime expiryDate() const override;
    [[nodiscard]] int shortestIntervalMs() const override { return 1000; }
    [[nodiscard]] QString describeToken(bool& isDue) const override;
    void refresh() override;
    void releaseLocks() override;
    void takeFromFile() override;
    void signInGone() override;
    [[nodiscard]] QByteArray heldToken() const override;
    void forgetFailures() override;
    void handleReply(const ExchangeOutcome& outcome) override;

private:
    [[nodiscard]] QString refusal() const;
    void waitForToken();
    void tokenRefreshEnded();
    void waitForLock();
    [[nodiscard]] bool claim();
    void lockAcquired();
    [[nodiscard]] bool claimBetweenTokenRefreshes();
    void holdOff();
    void request();
    void sendRequest();
    [[nodiscard]] Util::SecretBytes makeForm(const WebServicesConfiguration& configuration);
    void succeeded(const ExchangeOutcome& outcome);
    void refused();
    void startRetryProcess();
    void retryAlongSchedule();
    /// Looks at the file before the user is signed out. True when that has ended the run.
    void refuse(const QString& text);

    OAuth2TokenSlot& m_slot;
    IRequestFlags& m_flags;
    RefreshController& m_controller;
    RefreshWorker& m_tokenRefresher;
    const std::shared_ptr<RunState> m_queries;
    const QString m_flag;
    RetryProcess m_retry;
    QString m_retryMark;        ///< The sign-in that the retry process belongs to.
    ProductTokens m_sentTokens; ///< The OAuth 1.0 tokens of the last request.
    QElapsedTimer m_claiming;
    bool m_locked = false;
    bool m_published = false;
    bool m_elsewhere = false;     ///< Another process refreshes the token.
    bool m_waitsForToken = false; ///< Put off until the OAuth 1.0 token is renewed.
    bool m_resent = false;
};

} // namespace Velquor::WebServices::Internal
