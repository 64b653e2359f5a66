#pragma once

#include "Session/Core/SessionState.h"
#include "VqUtil/General/Result.h"

#include <VqWebServices/OAuth2Token.h>

namespace Velquor::WebServices::Internal {

/// The clients' operations with OAuth2 tokens. A null spec means the client's default one.
///
/// Thread: any; waits with no lock held. Owner: its user's stack. Errors: an empty or false result and one log line.
class OAuth2Access {
public:
    explicit OAuth2Access(SessionState& state);

    [[nodiscard]] bool isEnabled(const QString& clientKey) const;
    /// False when the client is unknown or the type is none.
    bool EnableOAuth2(const QString& clientKey, const OAuth2TokenSpec& spec);
    bool DisableOAuth2(const QString& clientKey);

    /// Another process has enabled or disabled OAuth2 for the product with this consumer key; do the same for all its clients
    /// here.
    void enabledElsewhere(const QString& productKey, const OAuth2TokenSpec& spec);
    void disabledElsewhere(const QString& productKey);

    [[nodiscard]] OAuth2Token GetOAuth2AccessToken(const QString& clientKey, const OAuth2TokenSpec* spec, bool waitToFinish);
    /// An asynchronous one returns at once, with true when it was started.
    bool RefreshOAuth2Token(const QString& clientKey, const OAuth2TokenSpec* spec, bool synchronous);

    [[nodiscard]] OAuth2TokenData token(const QString& clientKey, const OAuth2TokenSpec* spec) const;
    [[nodiscard]] bool isRefreshTimerActive(const QString& clientKey, const OAuth2TokenSpec* spec) const;

    /// Logs the token of the client's product and raises its event, when there is one.
    void reportToken(const QString& clientKey);

    /// The spec itself, or the client's default one.
    [[nodiscard]] OAuth2TokenSpec resolve(const QString& clientKey, const OAuth2TokenSpec* spec) const;
    /// The default spec of the product with this consumer key.
    [[nodiscard]] OAuth2TokenSpec defaultSpecOf(const QString& productKey) const;
    [[nodiscard]] QString productKey(const QString& clientKey) const { return m_state.subjectKey(clientKey); }

private:
    /// The product's session for the spec, which keeps the product alive; null when it has never had the spec enabled.
    [[nodiscard]] static OAuth2SessionPointer findSession(const ProductSessionPointer& product, const OAuth2TokenSpec& spec);
    /// Null when the product is not signed in or has never had the spec enabled.
    [[nodiscard]] OAuth2SessionPointer session(const QString& clientKey, const OAuth2TokenSpec& spec) const;
    /// The session that holds the token, found under the login session lock when the caller may wait; null with a line in the
    /// log.
    [[nodiscard]] OAuth2SessionPointer lockedSession(const QString& clientKey, const OAuth2TokenSpec* requested,
                                                     bool mayWait) const;
    /// The clients of this process that are the product with this consumer key.
    [[nodiscard]] QStringList clientsOf(const QString& productKey) const;
    void startTokens(const QString& clientKey);
    void discardUnused(const ProductSessionPointer& product);
    void waitForTokenQuery(const ProductLoginSession& product, const OAuth2TokenData& held);
    [[nodiscard]] Util::Result<void> mayRefresh(const QString& clientKey) const;
    bool refresh(const ProductLoginSession& product, OAuth2Session& session, bool synchronous);

    /// The product's logger, which writes its prefix, or without a product the logger of all products.
    [[nodiscard]] Loggers::Logger logger(const ProductSessionPointer& product) const;
    [[nodiscard]] Loggers::Logger logger(const QString& clientKey) const { return logger(m_state.product(clientKey)); }

    SessionState& m_state;
};

} // namespace Velquor::WebServices::Internal
