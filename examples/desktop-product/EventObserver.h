#pragma once

#include <QObject>
#include <QString>
#include <VqWebServices/IWebServicesObserver3.h>
#include <functional>
#include <utility>

/// Turns the library's events into one Qt signal.
///
/// Thread: the main thread, on which the library calls its observers. Owner: the product, which removes it before destruction.
class EventObserver : public QObject, public Velquor::WebServices::IWebServicesObserver3 {
    Q_OBJECT

public:
    /// Called before each sign-out that this process begins; true: the user stays signed in.
    using Veto = std::function<bool()>;
    void setVeto(Veto veto) { m_veto = std::move(veto); }

    void LoggedIn() override { emit happened(QStringLiteral("LoggedIn")); }
    void LoginRestored() override { emit happened(QStringLiteral("LoginRestored")); }
    void AboutToLogout(bool& veto) override;
    void LoggingOut() override { emit happened(QStringLiteral("LoggingOut")); }
    void LoggedOut() override { emit happened(QStringLiteral("LoggedOut")); }
    void ServerChanged(const wchar_t* key) override { tell(QStringLiteral("ServerChanged"), key); }
    void TokenRefreshed(const wchar_t* key) override { tell(QStringLiteral("TokenRefreshed"), key); }
    void TokenAcquired(const wchar_t* key) override { tell(QStringLiteral("TokenAcquired"), key); }
    void TokenAvailable(const wchar_t* key) override { tell(QStringLiteral("TokenAvailable"), key); }
    void TokenQueryFailed(const wchar_t* key) override { tell(QStringLiteral("TokenQueryFailed"), key); }
    void OAuth2Enabled(const wchar_t* key) override { tell(QStringLiteral("OAuth2Enabled"), key); }
    void OAuth2Disabled(const wchar_t* key) override { tell(QStringLiteral("OAuth2Disabled"), key); }
    void OAuth2TokenAcquired(const wchar_t* key) override { tell(QStringLiteral("OAuth2TokenAcquired"), key); }
    void OAuth2TokenAvailable(const wchar_t* key) override { tell(QStringLiteral("OAuth2TokenAvailable"), key); }
    void OAuth2TokenRefreshed(const wchar_t* key) override { tell(QStringLiteral("OAuth2TokenRefreshed"), key); }
    void OAuth2TokenDiscarded(const wchar_t* key) override { tell(QStringLiteral("OAuth2TokenDiscarded"), key); }
    void OAuth2TokenQueryFailed(const wchar_t* key) override { tell(QStringLiteral("OAuth2TokenQueryFailed"), key); }

signals:
    /// `consumerKey` names the product of the event; it is empty for an event about the user.
    void happened(const QString& event, const QString& consumerKey = QString());

private:
    void tell(const QString& event, const wchar_t* consumerKey);

    Veto m_veto;
};
