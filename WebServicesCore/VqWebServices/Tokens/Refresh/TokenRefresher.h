#pragma once

#include "Tokens/IRequestClaims.h"
#include "Tokens/Refresh/RefreshWorker.h"
#include "Tokens/Refresh/TokenRefreshTurn.h"

#include <optional>

namespace Velquor::WebServices::Internal {

/// Renews the OAuth 1.0 access token of a product before it expires, with the product's session handle.
///
/// Before a request it reads the login state file: another process may have renewed the token. When the server refuses the token
/// for good, the user is signed out, unless the file holds another token. Thread, owner and errors: as of TokenWorker.
class TokenRefresher : public RefreshWorker {
    Q_OBJECT

public:
    /// `queries`: the token queries of the same product; during a query there is nothing to refresh.
    TokenRefresher(ITokenOwner& owner, RefreshController& controller, IRequestFlags& flags, std::shared_ptr<RunState> queries,
                   std::unique_ptr<IPendingRefresh> pending);
    ~TokenRefresher() override;

    /// Ends the refresh in progress, and with it every wait for it. This object's thread.
    void AbortRefresh();

signals:
    void TokenRefreshed(const QString& consumerKey);

public slots:
    void TokenRefreshedInAnotherProcess(const QString& consumerKey);

protected:
    [[nodiscard]] QString timerStopReason() const override;
    [[nodiscard]] QDateTime expiryDate() const override { return owner().tokens().expiryDate; }
    [[nodiscard]] int shortestIntervalMs() const override { return 2000; }
    [[nodiscard]] TokenState tokenState() const override;
    void refresh() override;
    void endTurn() override;
    void takeFromFile() override;
    void signInGone() override;
    [[nodiscard]] QByteArray heldToken() const override { return owner().tokens().accessToken; }
    void forgetFailures() override;
    void handleReply(const ExchangeOutcome& outcome) override;

private:
    [[nodiscard]] QString refusal() const;
    void request();
    void sendRequest(bool withToken);
    void succeeded(const ExchangeOutcome& outcome);
    void stored(const ProductTokens& tokens);
    void handleRefusal(const ExchangeOutcome& outcome);
    /// A failure of a server that is out of order, so soon after the last one that it counts as the same.
    [[nodiscard]] bool isSameOutage(const ExchangeOutcome& outcome);
    void countFailure(bool isClockProblem);
    void retryAfter(int intervalMs);

    const std::shared_ptr<RunState> m_queries;
    const std::unique_ptr<IPendingRefresh> m_pending;
    TokenRefreshTurn m_turn;
    int m_failureCount = 0;
    std::optional<qint64> m_outageMs; ///< When an outage of the server was last counted, on the steady clock.
    bool m_mayBeSpent = false; ///< An earlier refresh of the token has had no answer; the server may have invalidated the token.
};

} // namespace Velquor::WebServices::Internal
