#pragma once

#include <QString>
#include <QVector>
#include <VqWebServices/Server.h>
#include <VqWebServices/ServiceEntitlement.h>

/// What the window shows, as plain values: read on a worker thread, shown on the main thread. Dates are seconds since 1970-01-01
/// UTC, 0 when not known.

struct TokenFacts {
    bool isHeld = false;
    qint64 expiry = 0;
};

/// What the library knows without asking anybody.
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

/// What the web services say of the user; read in the background, since the first answer is waited for.
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

/// What the product is doing for its user right now; one thing at a time.
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
