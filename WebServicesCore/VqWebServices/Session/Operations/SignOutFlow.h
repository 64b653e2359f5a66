#pragma once

#include "Session/Core/SessionState.h"

#include <QNetworkReply>
#include <VqWebServices/NetworkCookieJar.h>

namespace Velquor::WebServices::Internal {

/// Signs the user out, in the browser or over the network, and clears what this machine keeps.
///
/// Thread: any, under the login session lock. Owner: its user's stack. Errors: false and a log line.
class SignOutFlow {
public:
    explicit SignOutFlow(SessionState& state);

    /// The first step of `InitiateLogout`: says what is going on and checks that a user is signed in.
    [[nodiscard]] bool begin();

    /// The URL of the logout page, signed with the access token, and the cookies to clear in the browser.
    [[nodiscard]] bool makeLogoutUrl(const QString& clientKey, QString& url, NetworkCookieJar& cookies);

    /// Forgets the user in memory and in the file.
    [[nodiscard]] bool complete();

    /// Tells the account server that the token is to be invalid. A failure is logged and reported, and stops nothing.
    [[nodiscard]] QNetworkReply::NetworkError invalidateToken();

private:
    [[nodiscard]] ProductSessionPointer productWithTokens() const;
    [[nodiscard]] QNetworkReply::NetworkError sendInvalidation(const ProductLoginSession& product,
                                                               const Util::SecretBytes& handle);

    SessionState& m_state;
    Log::ILogger& m_logger;
};

} // namespace Velquor::WebServices::Internal
