#pragma once

#include "AccountState.h"
#include "FailureTexts.h"

#include <QString>

/// How one action ended: with a failure, or well; the sign-in page is given by `requestPage` alone.
struct Outcome {
    Failure failure;
    QString page;
};

/// The calls of the library, each with what it means for the person in front of the window. They wait for the network or for
/// files.
///
/// Thread: the workers of the product, never the main thread. Errors: the outcome; a library that is not initialized fails the
/// call.
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

    /// Returns at once, but for the moment in which another process writes the login state.
    [[nodiscard]] static AccountState readState();
    /// Waits for the web services as long as they were never asked.
    [[nodiscard]] static AccountDetails readDetails();
    /// Makes the next `readDetails` ask anew.
    static void forgetDetails();
};
