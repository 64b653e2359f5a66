#pragma once

#include <QString>
#include <QVector>
#include <VqWebServices/Server.h>
#include <VqWebServices/ServiceEntitlement.h>

/// The content of the window, as plain values. A worker thread reads them, and the main thread shows them. Dates are seconds
/// since 1970-01-01 UTC, 0 when not known.

struct TokenFacts {
    bool isHeld = false;
    qint64 expiry = 0;
};

/// The state that the library knows without a request to the network.
struct AccountState {
    bool isSignedIn = false;
    QString userName;
    QString userId;
    qint64 signInExpiry = 0;
    TokenFacts accessToken;
    TokenFacts oauth2Token;
    Velquor::WebServices::Server server = Velquor::WebServices::Production;
    bool hasProxy = false;
};

/// The replies of the web services about the user. They are read in the background, since the first call waits for its reply.
struct AccountDetails {
    struct Service {
        QString name;
        Velquor::WebServices::ServiceEntitlement entitlement = Velquor::WebServices::ServiceEntitlement::Unknown;
    };

    QString email;
    QString firstName;
    QString lastName;
    bool hasQuota = false;
    qint64 usedBytes = 0;
    qint64 totalBytes = 0;
    bool hasServices = false;
    QVector<Service> services;
};

struct ProxySettings {
    QString host;
    int port = 0;
    QString user;
    QString password;
};

[[nodiscard]] QString serverName(Velquor::WebServices::Server server);

/// What ended a sign-in, as far as a product can know it.
enum class SignInEnd { ByThisWindow, ByOtherProduct, Expired };

/// The action that the product is running for its user. There is only one at a time.
enum class Activity {
    Idle,
    Starting,
    RequestingPage,
    WaitingForBrowser,
    Completing,
    SigningOut,
    RenewingAccessToken,
    RenewingOAuth2Token,
    SwitchingServer,
    StoringProxy,
    ClearingProxy,
};
