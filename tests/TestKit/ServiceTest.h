#pragma once

#include "TestKit/AccountServiceProcess.h"
#include "TestKit/SessionFixture.h"
#include "TestKit/Test.h"

namespace Velquor::TestKit {

/// What tests of a session against the account service share: the service, the folders of one user, a session and a sign-in.
///
/// Thread: the test's. Owner: the test, which derives from it and keeps its sessions behind what is here.
class ServiceTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { startService(); }
    void cleanup();

protected:
    void startService(const QStringList& options = {});
    /// A service without sign-ins, and a user without files.
    void startOver();

    /// Restores the session, and signs the user in with the product of this key.
    void signIn(WebServices::Internal::LoginSession& session, const QString& productKey = demoKey, const QString& user = "ada");
    /// Signs in a session that is restored already.
    void signInAgain(WebServices::Internal::LoginSession& session, const QString& productKey, const QString& user);
    /// Signs out, whatever the observers say; true when that was done.
    static bool signOut(WebServices::Internal::LoginSession& session, const QString& productKey = demoKey);
    /// The access token that the product has now; empty without one.
    [[nodiscard]] static QString accessToken(WebServices::Internal::LoginSession& session, const QString& productKey = demoKey);
    /// Lets the service delay its next answers at an end point.
    void delay(const QString& endPoint, int milliseconds, int count = 1);

    /// The product that these tests are about.
    inline static const QString key = demoKey;
    inline static const QString secret = demoSecret;

    AccountServiceProcess m_service;
    std::unique_ptr<SessionFixture> m_fixture;
    SessionUnderTest m_session; ///< Ends with each test function.
};

} // namespace Velquor::TestKit
