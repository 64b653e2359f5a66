#pragma once

#include "Tokens/Query/QueryWorker.h"

namespace Velquor::WebServices::Internal {

class OAuth2TokenSlot;
struct OAuth2Reply;

/// Requests an OAuth2 token in exchange for the product's OAuth 1.0 access token. Repeats a failed request without end.
///
/// Thread, owner and errors: as of TokenWorker.
class OAuth2TokenFetcher : public QueryWorker {
    Q_OBJECT

public:
    OAuth2TokenFetcher(ITokenOwner& owner, OAuth2TokenSlot& slot, IRequestFlags& flags, const QString& keyDigest);
    ~OAuth2TokenFetcher() override;

public slots:
    /// The product's OAuth 1.0 token has been acquired, which a query needs.
    void TokenAcquired();
    /// The OAuth 1.0 token has been renewed: a query that failed because it had expired can succeed now.
    void TokenRefreshed();
    /// Another process reports that it has acquired the OAuth2 token.
    void OAuth2TokenAcquiredInAnotherProcess() { acquiredElsewhere(); }

signals:
    void OAuth2TokenQueryFinished();

protected:
    [[nodiscard]] QString refusal() override;
    [[nodiscard]] QByteArray usableToken() const override;
    void announceLoaded() override;
    [[nodiscard]] bool request() override;
    void handleReply(const ExchangeOutcome& outcome) override;
    void emitFinished() override;
    void gaveUpWaiting() override;

private:
    [[nodiscard]] QString failureText(const ExchangeOutcome& outcome, const QString& retry) const;
    void succeeded(const OAuth2Reply& reply);
    void failed(const ExchangeOutcome& outcome);
    void finishAndRetry(const QString& text);
    void showQuery(bool isUnderWay);

    OAuth2TokenSlot& m_slot;
    ProductTokens m_sentTokens; ///< The OAuth 1.0 tokens of the last request.
    bool m_resent = false;
    bool m_isShown = false; ///< The flag for queries of any kind is set.
};

} // namespace Velquor::WebServices::Internal
