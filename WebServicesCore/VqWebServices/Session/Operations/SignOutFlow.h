#pragma once

#include "Session/Store/LoginStateStore.h"

#include <QNetworkReply>
#include <VqWebServices/NetworkCookieJar.h>
#include <optional>

namespace Velquor::WebServices::Internal {

/// The logout page for the browser: its URL, signed with the access token, and the cookies to clear. A plain value.
struct LogoutPage {
    QString url;
    NetworkCookieJar cookies;
};

/// Signs the user out, in the browser or over the network: asks the observers, notifies the account server, and clears what this
/// machine keeps.
///
/// Thread: any, with the login session lock free; it is taken for each step. Owner: its user's stack. Errors: a false or empty
/// result and a log line.
class SignOutFlow {
public:
    using EndedBy = LoginStateStore::EndedBy;

    explicit SignOutFlow(SessionState& state);

    /// What a sign-out without a browser depends on.
    struct Terms {
        bool isForced = false; ///< Also when the user-interface companion module is loaded.
        QString onlySignIn; ///< The server ends the sign-in of this id. Fails when it is another one; empty: the user ends any.
    };
    /// The whole sign-out without a browser. `error`: what the account server answered; it stops nothing.
    bool logOut(const QString& clientKey, QNetworkReply::NetworkError& error, const Terms& terms);

    /// The first half of a sign-out in the browser. Empty when nobody is signed in, an observer vetoes, or the page cannot be
    /// signed.
    std::optional<LogoutPage> initiate(const QString& clientKey);
    /// The second half: forgets the user in memory and in the file, and notifies all processes.
    /// `onlySignIn`: as in `Terms`.
    bool complete(const QString& clientKey, const QString& onlySignIn = {}, EndedBy who = EndedBy::User);

private:
    [[nodiscard]] std::optional<LogoutPage> makeLogoutPage(const QString& clientKey);
    /// Unless another sign-in has taken the place of this one; empty: whichever there is.
    [[nodiscard]] bool forgetSignIn(LockedState& state, const QString& onlySignIn, EndedBy who);
    void announceEnd(const QString& clientKey);
    [[nodiscard]] bool forgetUser(LockedState& state, EndedBy who);
    [[nodiscard]] ProductSessionPointer productWithTokens() const;
    [[nodiscard]] QNetworkReply::NetworkError invalidateToken();
    [[nodiscard]] QNetworkReply::NetworkError sendInvalidation(const ProductLoginSession& product,
                                                               const Util::SecretBytes& handle);

    SessionState& m_state;
    Log::ILogger& m_logger;
};

} // namespace Velquor::WebServices::Internal
