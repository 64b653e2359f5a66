#pragma once

#include "Session/Core/LockedState.h"
#include "Session/Operations/AccountExchange.h"
#include "VqUtil/General/Result.h"

#include <QMap>
#include <VqWebServices/LoginError.h>
#include <VqWebServices/NetworkCookieJar.h>
#include <optional>

namespace Velquor::WebServices::Internal {

/// The result codes of a sign-in, in the manner of HTTP.
namespace LoginCode {
constexpr int success = 200;
constexpr int notReady = 1002;
constexpr int exchangeFailed = 1104;
} // namespace LoginCode

/// What `InitiateLogin` answers. A plain value.
struct InitiatedLogin {
    int code = LoginCode::exchangeFailed;
    QString url; ///< For the browser; empty unless the code is 200.
    LoginErrorEx error = LoginErrorEx::None;
    int httpStatus = 0; ///< Of the exchange with the account server; 0 without one.
};

/// Signs a user in through the browser: the three-legged exchange of OAuth 1.0 (RFC 5849, section 2).
///
/// Thread: any, under the login session lock. Owner: its user's stack. Errors: result codes and log lines; a failed step leaves
/// the state as it was, except for the stored request token.
class SignInFlow {
public:
    explicit SignInFlow(LockedState& state);

    /// Obtains a request token and makes the URL of the sign-in page.
    [[nodiscard]] InitiatedLogin initiate(const QString& clientKey, const QString& ldapDomainKey);

    /// Exchanges the request token, which the user has authorised in the browser, for the access token, and saves the state.
    [[nodiscard]] int complete(const QString& clientKey, const NetworkCookieJar* cookies);

private:
    [[nodiscard]] Util::Result<void> checkReady(const QString& clientKey) const;
    [[nodiscard]] AccountReply exchange(const WebServicesConfiguration& configuration, const SigningKeys& keys,
                                        const QUrl& url) const;
    [[nodiscard]] bool checkConsumerKeys(const SigningKeys& keys, const QUrl& url) const;
    /// Empty, with a line in the log, when the reply holds no usable request token.
    [[nodiscard]] std::optional<PendingSignIn> readRequestToken(const AccountReply& reply, const QUrl& url) const;
    [[nodiscard]] QUrl authorizationUrl(const SigningKeys& keys, const QString& ldapDomainKey) const;
    [[nodiscard]] bool storeSignIn(ProductLoginSession& product, const PendingSignIn& pending,
                                   const QMap<QString, QByteArray>& reply, const NetworkCookieJar* cookies);
    [[nodiscard]] BasicLoginState makeState(const QMap<QString, QByteArray>& reply, const QDateTime& now) const;
    [[nodiscard]] QByteArray keptCookies(const NetworkCookieJar& cookies) const;
    void forgetEarlierSignIn(bool isOtherUser);
    [[nodiscard]] SigningKeys requestTokenKeys(const PendingSignIn& pending, const WebServicesConfiguration& configuration) const;

    LockedState& m_state;
    const SessionDependencies& m_services;
    Log::ILogger& m_logger;
};

} // namespace Velquor::WebServices::Internal
