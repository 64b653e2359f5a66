#pragma once

#include "Session/Store/LoginStateStore.h"
#include "TestKit/SessionFixture.h"

namespace Velquor::TestKit {

/// One process of the user as the login state file knows it: its session state, which reads the shared file only on demand and
/// has no observers. Thread: the test's. Owner: the test.
class StateProcess {
public:
    explicit StateProcess(SessionFixture& fixture, const QString& consumerKey = demoKey,
                          WebServices::Server server = WebServices::Production);

    void restore();
    void signIn(const QString& user, const QDateTime& tokenExpiry = QDateTime::currentDateTimeUtc().addSecs(3600));
    /// Gives the product tokens of its own.
    void takeTokens(const QDateTime& expiry, const QByteArray& token = {});
    /// Applies what other processes have written.
    void lookAtFile();
    void restoreAndSignIn();
    void setUser(const WebServices::Internal::BasicLoginState& user);
    /// The product of this process, configured.
    WebServices::Internal::ProductSessionPointer product();
    WebServices::Internal::LoginStateStore::Result save();
    /// Saves the tokens of this product alone.
    WebServices::Internal::LoginStateStore::Result saveTokens();
    /// Saves the present user as one who has just signed in.
    WebServices::Internal::LoginStateStore::Result saveSignIn();
    bool endSignIn();

    [[nodiscard]] QByteArray token(const QString& consumerKey = demoKey);

private:
    class SilentEvents : public WebServices::Internal::ISessionEvents {
    public:
        void raiseEvent(WebServicesPrivateCore::WebServicesEvent, const WebServices::Internal::EventSubject&) override {}
        void raiseEventHere(WebServicesPrivateCore::WebServicesEvent, const WebServices::Internal::EventSubject&) override {}
        void deliverEvent(WebServicesPrivateCore::WebServicesEvent, const WebServices::Internal::EventSubject&) override {}
        void forceLogout(const QString&, const QString&) override {}
        [[nodiscard]] bool isLogoutVetoed(const QString&) override { return false; }
        bool followFile(int) override { return true; }
    };

    SilentEvents m_events;

public:
    WebServices::Internal::SessionState core;

private:
    const QString m_key;
};

} // namespace Velquor::TestKit
