#pragma once

#include "Tokens/Query/QueryWorker.h"

namespace Velquor::WebServices::Internal {

/// Signs a product in automatically when another product of the same user is signed in on the same server: requests an access
/// token with the session handle of the other product.
///
/// Thread, owner and errors: as of TokenWorker.
class TokenFetcher : public QueryWorker {
    Q_OBJECT

public:
    TokenFetcher(ITokenOwner& owner, IRequestFlags& flags, const QString& keyDigest);
    ~TokenFetcher() override;

    /// Starts an asynchronous query when another product's sign-in was found; true when one is in progress. Any thread.
    bool CheckAutomaticLogin();

    /// Ends the query in progress, and with it every wait for it. This object's thread.
    void AbortTokenQuery();

public slots:
    /// Another process reports that it has acquired the token.
    void TokenAcquiredInAnotherProcess() { acquiredElsewhere(); }

signals:
    void TokenAvailable();
    void TokenQueryFinished();

protected:
    [[nodiscard]] QString refusal() override;
    [[nodiscard]] QByteArray usableToken() const override;
    void announceLoaded() override;
    [[nodiscard]] bool request() override;
    void handleReply(const ExchangeOutcome& outcome) override;
    void emitFinished() override { emit TokenQueryFinished(); }
    void gaveUpWaiting() override { countFailure(); }

private:
    void storeReply(const ExchangeOutcome& outcome);
    void stored(const QByteArray& userName);
    void handleFailure(const ExchangeOutcome& outcome);
    void countFailure();
    void giveUp();

    const std::unique_ptr<IPendingRefresh> m_pending;
};

} // namespace Velquor::WebServices::Internal
