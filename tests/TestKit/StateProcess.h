#pragma once

#include "Session/LoginStateLoader.h"
#include "Session/LoginStateSaver.h"
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
    WebServices::LoginStateSaver::Result save() { return WebServices::LoginStateSaver(core).save(); }
    /// Saves the tokens of this product alone.
    WebServices::LoginStateSaver::Result saveTokens();

    [[nodiscard]] QByteArray token(const QString& consumerKey = demoKey);

private:
    class SilentVoice : public WebServices::ISessionVoice {
    public:
        void raiseEvent(WebServicesPrivateCore::WebServicesEvent, const WebServices::EventSubject&) override {}
        void raiseEventHere(WebServicesPrivateCore::WebServicesEvent, const WebServices::EventSubject&) override {}
        void forceLogout(const QString&, const QString&) override {}
        bool catchUpWithin(int) override { return true; }
    };

    SilentVoice m_voice;

public:
    WebServices::SessionCore core;

private:
    const QString m_key;
};

} // namespace Velquor::TestKit
