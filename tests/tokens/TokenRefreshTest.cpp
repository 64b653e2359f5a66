// Access tokens that stay fresh: queries and refreshes against the account service, which checks every signature.

#include "Session/State/LoginStateFile.h"
#include "TestKit/RecordingObserver.h"
#include "TestKit/ServiceTest.h"

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;
using TestKit::secondKey;
using TestKit::secondSecret;

class TokenRefreshTest : public TestKit::ServiceTest {
    Q_OBJECT

private slots:
    void init() {
        startOver();
        m_session = m_fixture->makeSession();
        signIn(*m_session);
    }

    // The main thread is busy while the user signs in again on another one: the sign-out was decided for the earlier sign-in.
    void aForcedSignOutDoesNotEndALaterSignIn() {
        const InitiatedLogin login = m_session->InitiateLogin(key, QString());
        QVERIFY(m_service.approve(login.url));
        QVERIFY(m_service.addFault("access-token", "problem", {{"status", 400}, {"problem", "token_rejected"}}, 1));
        std::thread([this] { QVERIFY(!m_session->RefreshToken(key, true)); }).join();
        QThread::msleep(1100); // sign-ins are dated to the second
        std::thread([this] { QCOMPARE(m_session->CompleteLogin(key, nullptr), LoginCode::success); }).join();
        QVERIFY(m_fixture->hasLogged("Current token is invalid and cannot be refreshed anymore."));
        QTest::qWait(200);
        QVERIFY(m_session->isLoggedIn(key));
        QVERIFY(!m_session->SignRequest(key, order()).isEmpty());
        QVERIFY(m_session->RefreshToken(key, true));
    }

    // The service has renewed the token, but its answer got lost on the way.
    void survivesALostAnswer() {
        QVERIFY(m_service.addFault("access-token", "drop", {{"carry_out", true}}, 1));
        QVERIFY(!m_session->RefreshToken(key, true));
        QVERIFY(m_session->RefreshToken(key, true));
        QVERIFY(m_session->isLoggedIn(key));
        QVERIFY(!m_session->SignRequest(key, order()).isEmpty());
    }

    void aCallThatFailsAnywayDoesNotWaitForTokens() {
        delay("access-token", 60000);
        QVERIFY(m_session->RefreshToken(key, false));
        QTRY_VERIFY(isRequestSent());
        m_fixture->clockOffset += 100 * 24 * 3600;
        const TestKit::Stopwatch timer;
        QVERIFY(m_session->SignRequest(key, order()).isEmpty());
        QVERIFY2(timer.elapsed() < TestKit::limitMs(1000), qPrintable(QString::number(timer.elapsed())));
        QVERIFY(m_fixture->hasLogged("https://127.0.0.1/api/echo: Login state is not valid."));
    }

    // It has asked for no refresh, so only the wait itself is logged.
    void aCallerWaitsForARefreshInProgress() {
        const QString before = accessToken(*m_session);
        delay("access-token", 300);
        QVERIFY(m_session->RefreshToken(key, false));
        QVERIFY(accessToken(*m_session) != before);
        QVERIFY(m_fixture->hasLogged("Finished local event loop. Token refresh succeeded."));
        QVERIFY(!m_fixture->hasLogged("Wait ended."));
    }

    void aRefusalToSignNamesItsReason() {
        const TestKit::Rows row(this, [&](bool signedIn, const QString& clientKey, const QString& reason) {
            m_session->AddClient({"unconfigured", 1, "Another", "/opt/another"});
            QVERIFY(signedIn || signOut(*m_session));
            QVERIFY(m_session->SignRequest(clientKey, order()).isEmpty());
            QVERIFY2(m_fixture->hasLogged("SignRequest failed while signing url https://127.0.0.1/api/echo: " + reason),
                     qPrintable(m_fixture->logger->texts().last()));
        });
        row("signed out", false, key, "Login state is not valid.");
        row("not configured", true, "unconfigured", "Current configuration is null or invalid.");
    }

    // A sign-in holds the lock until the service has answered.
    void aTokenThatEndsDuringTheWaitForTheLockIsRefreshed() {
        const TestKit::Rows row(this, [&](bool isSigning) {
            delay("request-token", 500);
            m_fixture->logger->clear();
            std::thread signingIn([this] { QCOMPARE(m_session->InitiateLogin(key, QString()).code, LoginCode::success); });
            QTRY_VERIFY(m_fixture->hasLogged("Initiating login with ldap domain"));
            std::thread caller([&] {
                Util::SecretBytes token;
                Util::SecretBytes tokenSecret;
                QVERIFY(isSigning ? !m_session->SignRequest(key, order()).isEmpty()
                                  : m_session->GetAccessToken(key, true, token, tokenSecret));
            });
            QTRY_VERIFY(m_fixture->hasLogged(isSigning ? "SignRequest: Acquiring login" : "GetAccessToken: Acquiring login"));
            expire();
            signingIn.join();
            caller.join();
            QVERIFY(m_fixture->hasLogged("Token refreshed successfully."));
        });
        row("SignRequest", true);
        row("GetAccessToken", false);
    }

    void aSignOutElsewhereWinsOverARefresh() {
        const auto other = m_fixture->restoredSession();
        delay("access-token", 700);
        expire();
        std::thread caller([this] { QVERIFY(m_session->SignRequest(key, order()).isEmpty()); });
        QTRY_VERIFY(isRequestSent());
        QVERIFY(signOut(*other));
        caller.join();
        QVERIFY(m_fixture->hasLogged("SignRequest failed while signing url https://127.0.0.1/api/echo: Not logged in"));
        QVERIFY(m_fixture->hasLogged("Failed to refresh token. Not logged in."));
        QVERIFY(!m_fixture->fileContents().contains("LoginSession"));
        QVERIFY(!m_session->isLoggedIn(QString()));
    }

    void anAutomaticSignInIsTriedAgainUntilItIsHopeless() {
        QVERIFY(m_service.addFault("access-token", "status", {{"status", 500}}, 1));
        const auto second = m_fixture->restoredSession(secondKey, secondSecret);
        QTRY_VERIFY(m_fixture->hasLogged("Token query timer started with interval 5 s"));
        QVERIFY(!second->isLoggedIn(secondKey));
        QVERIFY(m_service.addFault("access-token", "problem", {{"status", 400}, {"problem", "token_rejected"}}, 1));
        // Asked again before its timer, it gives up at once when the server says that it is hopeless.
        QVERIFY(second->RestoreLogin(secondKey, false));
        QVERIFY(second->SetConfiguration(secondKey, TestKit::SessionFixture::configuration(secondKey, secondSecret)));
        QTRY_VERIFY(m_fixture->hasLogged("Failed to login automatically using another product's login credentials."));
        QVERIFY(!second->isLoggedIn(secondKey));
        QVERIFY(second->isLoggedIn(QString()));
    }

    // The service has answered, and the old token is spent.
    void aStopWhileTokensAreSavedKeepsThem() {
        const QString before = m_fixture->tokenInFile();
        std::atomic<bool> isHeld{false};
        std::atomic<bool> isStopping{false};
        std::thread holder([&] {
            LoginStateFile file = m_fixture->stateFile();
            const LoginStateFile::Guard guard(file);
            isHeld = true;
            while (!isStopping)
                QThread::msleep(5);
            QThread::msleep(200);
        });
        QTRY_VERIFY(isHeld);
        QVERIFY(m_session->RefreshToken(key, false));
        QTRY_VERIFY(m_fixture->hasLogged("Token refresh network operation thread finished"));
        isStopping = true;
        m_session->stop();
        holder.join();
        QVERIFY(m_fixture->tokenInFile() != before);
    }

    // A thread may be on its way to the file when the session stops.
    void aLookAtTheFileAfterAStopSignsNobodyOut() {
        m_session->stop();
        (void)m_session->RestoreLogin(key, true);
        QCOMPARE(m_fixture->userInFile(), QStringLiteral("ada"));
    }

    // Uninitialize may come at any moment of a query or refresh.
    void mayBeStoppedAtAnyMoment() {
        const int rounds = TestKit::rounds(50, 500);
        m_service.control("lifetimes", QJsonObject{{"token", 60}});
        m_session.reset();
        qint64 longest = 0;
        for (int round = 0; round < rounds; ++round) {
            m_fixture->clockOffset += round == 0 ? 3601 : 61;
            const bool isSecond = round % 2 == 1;
            auto session = isSecond ? m_fixture->makeSession(secondKey, secondSecret) : m_fixture->makeSession();
            const QString& clientKey = isSecond ? secondKey : key;
            TestKit::RecordingObserver<> observer;
            session->observers().add(&observer);
            session->RestoreLogin(clientKey, false);
            std::thread caller([&session, &clientKey] { (void)session->SignRequest(clientKey, order()); });
            QThread::msleep(QRandomGenerator::global()->bounded(12));
            const TestKit::Stopwatch timer;
            session->stop();
            longest = qMax(longest, timer.elapsed());
            const int heard = observer.count("LoggedOut");
            caller.join();
            QCoreApplication::processEvents();
            QCOMPARE(observer.count("LoggedOut"), heard);
        }
        TestKit::figure("longest stop at a random moment of a query or refresh", "< 2 s",
                        QStringLiteral("%1 ms (%2 stops)").arg(longest).arg(rounds));
        QVERIFY2(!TestKit::isSoak() || longest < 2000, qPrintable(QString::number(longest)));
        const auto session = m_fixture->restoredSession();
        QVERIFY(session->isLoggedIn(key));
    }

    void stoppingEndsEveryWait() {
        const TestKit::Rows row(this, [&](bool isSignIn) {
            delay(isSignIn ? "request-token" : "access-token", 60000, -1);
            expire();
            TestKit::Threads threads(isSignIn ? 1 : 4, [&](int) {
                if (isSignIn)
                    QCOMPARE(m_session->InitiateLogin(key, QString()).code, LoginCode::exchangeFailed);
                else
                    QVERIFY(m_session->SignRequest(key, order()).isEmpty());
            });
            QTRY_VERIFY(isSignIn ? m_fixture->hasLogged("Initiating login with ldap domain") : isRequestSent());
            QTest::qWait(100);
            const TestKit::Stopwatch timer;
            m_session->stop();
            threads.join();
            QVERIFY2(timer.elapsed() < TestKit::limitMs(2000), qPrintable(QString::number(timer.elapsed())));
            QVERIFY(m_session->SignRequest(key, order()).isEmpty());
            QCOMPARE(m_session->InitiateLogin(key, QString()).code, LoginCode::notReady);
        });
        row("for a token", false);
        row("for a sign-in", true);
    }

private:
    void expire() { m_fixture->clockOffset += 3601; }

    // The service counts a request when it has answered; here the answer is still to come.
    bool isRequestSent() const { return m_fixture->hasLogged("Starting network operation in separate thread to refresh token"); }

    static SigningOrder order() {
        SigningOrder made;
        made.request.url = "https://127.0.0.1/api/echo";
        return made;
    }
};

QTEST_GUILESS_MAIN(TokenRefreshTest)
#include "TokenRefreshTest.moc"
