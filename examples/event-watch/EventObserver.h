#pragma once

#include <QDateTime>
#include <QString>
#include <VqWebServices/IWebServicesObserver3.h>
#include <cstdio>

/// Prints every event with its time, its origin and its product.
///
/// A product derives from the newest observer interface with events that it needs, and overrides their operations. The other
/// operations do nothing. The library holds no lock during a call, so the observer may call the library. Thread: that of
/// `Initialize`, the main thread. Owner: main(), which removes it before destruction.
class EventObserver : public Velquor::WebServices::IWebServicesObserver3 {
public:
    /// This program causes the events during its own calls. All other events come from another program of the user, or from a
    /// timer of the library that renews tokens.
    void setInsideOwnCall(bool isInside) { m_isInside = isInside; }

    void LoggedIn() override { print("LoggedIn"); }
    void LoginRestored() override { print("LoginRestored"); }
    // Without a change of its argument, the veto, the sign-out happens. A product with unsaved work in the cloud would ask its
    // user here.
    void AboutToLogout(bool& /*veto*/) override { print("AboutToLogout"); }
    void LoggingOut() override { print("LoggingOut"); }
    void LoggedOut() override { print("LoggedOut"); }
    void ServerChanged(const wchar_t* key) override { print("ServerChanged", key); }
    void TokenRefreshed(const wchar_t* key) override { print("TokenRefreshed", key); }
    void TokenAcquired(const wchar_t* key) override { print("TokenAcquired", key); }
    void TokenAvailable(const wchar_t* key) override { print("TokenAvailable", key); }
    void TokenQueryFailed(const wchar_t* key) override { print("TokenQueryFailed", key); }
    void OAuth2Enabled(const wchar_t* key) override { print("OAuth2Enabled", key); }
    void OAuth2Disabled(const wchar_t* key) override { print("OAuth2Disabled", key); }
    void OAuth2TokenAcquired(const wchar_t* key) override { print("OAuth2TokenAcquired", key); }
    void OAuth2TokenAvailable(const wchar_t* key) override { print("OAuth2TokenAvailable", key); }
    void OAuth2TokenRefreshed(const wchar_t* key) override { print("OAuth2TokenRefreshed", key); }
    void OAuth2TokenDiscarded(const wchar_t* key) override { print("OAuth2TokenDiscarded", key); }
    void OAuth2TokenQueryFailed(const wchar_t* key) override { print("OAuth2TokenQueryFailed", key); }

private:
    // The key is valid during the call only. Its last part identifies the product. The whole key must not be logged.
    void print(const char* event, const wchar_t* key = nullptr) const {
        const QString product = key ? QString::fromWCharArray(key).section(QLatin1Char('-'), -1) : QStringLiteral("all");
        const QString time = QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
        std::printf("%s  %-24s  origin: %-7s  product: %s\n", qUtf8Printable(time), event, m_isInside ? "here" : "outside",
                    qUtf8Printable(product));
        std::fflush(stdout);
    }

    bool m_isInside = false;
};
