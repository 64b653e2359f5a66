#pragma once

#include "Caches/CacheStorage.h"
#include "Caches/CacheView.h"
#include "Tokens/ITokenOwner.h"

#include <QNetworkRequest>
#include <memory>

namespace Velquor::WebServices::Internal {

/// The server, the user and the token that are in use now.
[[nodiscard]] CacheIdentity presentIdentity(const ITokenOwner& tokens);

/// The request of one cache to its web service: whether it may be sent, its signature, and its sign-in.
///
/// Thread: that of its cache, where the end is reported. Owner: its cache. Errors: results and log lines.
class CacheUpdate {
public:
    /// `refreshes` is busy while the access token is being refreshed; `finished` receives each reply of a request that was not
    /// cancelled.
    CacheUpdate(ITokenOwner& tokens, std::shared_ptr<RunState> refreshes, const CacheLog& log, IExchange::Finished finished,
                QObject* parent);

    enum class Readiness {
        Ready,
        NotNow,        ///< Nobody is signed in, or the sign-in has expired.
        TokenNotReady, ///< The access token is being refreshed, or has expired: try again after `tokenRetryMs`.
    };
    [[nodiscard]] Readiness readiness(bool canUpdate) const;
    static constexpr int tokenRetryMs = 5000;

    /// Signs the request and sends it. False when it cannot be signed.
    [[nodiscard]] bool send(QNetworkRequest request);
    [[nodiscard]] bool isUnderWay() const { return m_exchange->isUnderWay(); }
    /// Returns when the thread of the request has ended; its end is not reported.
    void cancel() { m_exchange->cancel(); }

    /// False when the sign-in for which the last request was sent is over.
    [[nodiscard]] bool isOfPresentSignIn() const { return !m_signInId.isEmpty() && m_tokens.signInId() == m_signInId; }
    /// The user and the token of the last request.
    [[nodiscard]] const CacheIdentity& identity() const { return m_identity; }

private:
    [[nodiscard]] bool sign(QNetworkRequest& request);

    ITokenOwner& m_tokens;
    const std::shared_ptr<RunState> m_refreshes;
    const CacheLog& m_log;
    const std::unique_ptr<IExchange> m_exchange;
    QString m_signInId;
    CacheIdentity m_identity;
};

} // namespace Velquor::WebServices::Internal
