#pragma once

#include "Tokens/OAuth2/OAuth2RefreshTurn.h"
#include "Tokens/OAuth2/RetryProcess.h"
#include "Tokens/Refresh/RefreshWorker.h"

namespace Velquor::WebServices::Internal {

/// Renews an OAuth2 token before it expires, with the product's OAuth 1.0 token. When that has expired it is renewed first.
/// A refresh never runs together with an OAuth 1.0 refresh of the same key in any process of the user.
///
/// A server error is followed by retries along the retry schedule. At the end of the schedule, or when the server refuses for
/// good, the user is signed out. Thread, owner and errors: as of TokenWorker.
class OAuth2TokenRefresher : public RefreshWorker {
    Q_OBJECT

public:
    /// `tokenRefresher` lives on the same thread and is deleted after this; `queries`: the queries of the same token.
    OAuth2TokenRefresher(ITokenOwner& owner, OAuth2TokenSlot& slot, IRequestFlags& flags, RefreshController& controller,
                         RefreshWorker& tokenRefresher, std::shared_ptr<RunState> queries);
    ~OAuth2TokenRefresher() override;

public slots:
    void OAuth2TokenAvailable() { TokenAvailable(); }
    void OAuth2TokenDiscarded() { stopRefreshTimer(); }
    /// The OAuth 1.0 token was renewed: a refresh that was put off for it starts now.
    void TokenRefreshed();
    void OAuth2TokenRefreshedInAnotherProcess(const QString& consumerKey);

protected:
    [[nodiscard]] QString timerStopReason() const override;
    [[nodiscard]] QDateTime expiryDate() const override;
    [[nodiscard]] int shortestIntervalMs() const override { return 1000; }
    [[nodiscard]] TokenState tokenState() const override;
    void refresh() override;
    void endTurn() override;
    void takeFromFile() override;
    void signInGone() override;
    [[nodiscard]] QByteArray heldToken() const override;
    void forgetFailures() override;
    void handleReply(const ExchangeOutcome& outcome) override;

private:
    [[nodiscard]] QString refusal() const;
    void request();
    void sendRequest();
    [[nodiscard]] Util::SecretBytes makeForm(const WebServicesConfiguration& configuration);
    void succeeded(const ExchangeOutcome& outcome);
    void refused();
    void startRetryProcess();
    void retryAlongSchedule();
    void refuse(const QString& text);

    OAuth2TokenSlot& m_slot;
    const std::shared_ptr<RunState> m_queries;
    OAuth2RefreshTurn m_turn;
    RetryProcess m_retry;
    QString m_retrySignInId;    ///< The sign-in of the retry process.
    ProductTokens m_sentTokens; ///< The OAuth 1.0 tokens of the last request.
    bool m_resent = false;
};

} // namespace Velquor::WebServices::Internal
