#pragma once

#include "AccountState.h"
#include "FailureTexts.h"

#include <QString>

/// The result of one action: a failure or success. Only `requestPage` sets the sign-in page.
struct Outcome {
    Failure failure;
    QString page;
};

/// The calls of the library, each with its failure in words for the user. They wait for the network or for files.
///
/// Thread: the workers of the product, never the main thread. Errors: the outcome. When the library is not initialized, the call
/// fails.
class ProductCalls {
public:
    ProductCalls() = delete;

    struct Keys {
        QString key;
        QString secret;
    };

    [[nodiscard]] static Outcome configureAndRestore(const Keys& keys);
    [[nodiscard]] static Outcome requestPage();
    [[nodiscard]] static Outcome completeSignIn();
    [[nodiscard]] static Outcome signOut();
    [[nodiscard]] static Outcome renewAccessToken();
    [[nodiscard]] static Outcome renewOAuth2Token();
    [[nodiscard]] static Outcome switchServer(Velquor::WebServices::Server server);
    [[nodiscard]] static Outcome storeProxy(const ProxySettings& proxy);
    [[nodiscard]] static Outcome clearProxy();

    /// Does not wait, except for a moment while another process writes the login state.
    [[nodiscard]] static AccountState readState();
    /// Waits for a reply of the web services that is not known yet.
    [[nodiscard]] static AccountDetails readDetails();
    /// The next `readDetails` queries the web services again.
    static void forgetDetails();
};
