// The whole sign-in and sign-out against the account service, which checks every signature with another OAuth library.

#include "Network/NetworkThreads.h"
#include "TestKit/RecordingObserver.h"
#include "TestKit/ServiceTest.h"

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

class SignInTest : public TestKit::ServiceTest {
    Q_OBJECT

private slots:
    void init() {
        startOver();
        m_session = m_fixture->makeSession();
    }

    void exchangesThatFollowEachOtherShareAConnection() {
        NetworkThreads::instance().open();
        const auto close = qScopeGuard([] { NetworkThreads::instance().close(); });
        signIn(*m_session);
        QVERIFY(m_session->RefreshToken(key, true));
        QVERIFY(m_session->caches().userInfo(key));
        QVERIFY(m_session->caches().quota(key));
        QVERIFY(signOut(*m_session));
        QSet<int> connections;
        const QJsonArray requests = m_service.control("log").value("requests").toArray();
        for (const auto& exchange : requests)
            connections += exchange.toObject().value("connection").toInt();
        QCOMPARE(requests.size(), 6);
        QCOMPARE(connections.size(), 1);
    }

    void aSignOutReachesTheOtherProcess() {
        signIn(*m_session);
        const auto other = m_fixture->restoredSession();
        TestKit::RecordingObserver<> observer;
        other->observers().add(&observer);
        QNetworkReply::NetworkError error = QNetworkReply::UnknownNetworkError;
        QVERIFY(m_session->Logout(key, error, false));
        QCOMPARE(error, QNetworkReply::NoError);
        QVERIFY(!other->isLoggedIn(QString()));
        QVERIFY(other->SignRequest(key, order()).isEmpty());
        QCOMPARE(observer.heard, QStringList({"LoggedOut"}));
        QVERIFY(!m_fixture->fileContents().contains("LoginSession"));
        // And back: a sign-in within the same second reaches the other one as well.
        signIn(*m_session);
        QVERIFY(other->isLoggedIn(key));
        QCOMPARE(observer.heard, QStringList({"LoggedOut", "LoggedIn"}));
        QCOMPARE(userWhoAsks(*other), QStringLiteral("ada"));
    }

    void aSignInBeforeTheConfigurationIsRefused() {
        QCOMPARE(m_session->InitiateLogin(key, QString()).code, LoginCode::notReady);
        QVERIFY(m_fixture->hasLogged("Failed to initiate login. WebServicesManager::RestoreLogin is not called."));
        QVERIFY(m_session->ChangeServer(key, Staging, false));
        QCOMPARE(m_session->InitiateLogin(key, QString()).error, LoginErrorEx::NotReady);
        QVERIFY(m_fixture->hasLogged("Failed to initiate login. Configuration is not set for Staging server."));
        QCOMPARE(m_session->InitiateLogin("unknown", QString()).code, LoginCode::notReady);
        QVERIFY(m_fixture->hasLogged("usingWebServicesManager::SetConfiguration"));
        QCOMPARE(m_service.requests("request-token"), 0);
        QCOMPARE(m_session->CompleteLogin(key, nullptr), LoginCode::exchangeFailed);
        QVERIFY(m_fixture->hasLogged("Failed to complete login. Product login session not found."));
    }

    void theServerBeforeTheRestoreIsThatOfTheFile() {
        m_fixture->writeFile("<WebServices><Settings CurrentServer=\"2\"/></WebServices>");
        QCOMPARE(m_session->currentServer(), Development);
        QVERIFY(m_session->ChangeServer(key, Staging, false));
        QCOMPARE(m_session->currentServer(), Staging);
        const auto other = m_fixture->makeSession();
        QVERIFY(other->ChangeServer(key, Staging, false));
        QCOMPARE(other->currentServer(), Staging);
    }

    void signOutsAtOnceWaitForASilentServiceOnce() {
        m_fixture->exchangeTimeoutMs = 500;
        m_session = m_fixture->makeSession();
        signIn(*m_session);
        delay("invalidate-token", 60000, -1);
        std::atomic<int> ended{0};
        std::atomic<int> succeeded{0};
        TestKit::Threads threads(4, [&](int) {
            succeeded += signOut(*m_session) ? 1 : 0;
            ++ended;
        });
        QTRY_COMPARE_WITH_TIMEOUT(ended.load(), 4, 30000);
        threads.join();
        QVERIFY(succeeded >= 1);
        QVERIFY(!m_session->isLoggedIn(key));
        QCOMPARE(m_fixture->logger->texts().count("Starting logout in server using REST"), 1);
    }

    void aSignInThatWasNotApprovedIsNotCompleted() {
        m_session->RestoreLogin(key, false);
        QCOMPARE(m_session->InitiateLogin(key, QString()).code, LoginCode::success);
        QCOMPARE(m_session->CompleteLogin(key, nullptr), LoginCode::exchangeFailed);
        QVERIFY(m_fixture->hasLogged("permission_unknown"));
        QVERIFY(!m_session->isLoggedIn(QString()));
    }

    void putsTheDomainKeyIntoTheSignInPage() {
        m_session->RestoreLogin(key, false);
        const InitiatedLogin login = m_session->InitiateLogin(key, "a b&c=ä");
        QVERIFY(login.url.contains("domain_key=a%20b%26c%3D%C3%A4&"));
        QVERIFY(m_service.approve(login.url));
    }

    void aWrongCertificateIsRefused() {
        const QSslConfiguration trusting = QSslConfiguration::defaultConfiguration();
        QSslConfiguration::setDefaultConfiguration(QSslConfiguration());
        m_session->RestoreLogin(key, false);
        const InitiatedLogin login = m_session->InitiateLogin(key, QString());
        QSslConfiguration::setDefaultConfiguration(trusting);
        QCOMPARE(login.error, LoginErrorEx::NoSecureConnection);
        QCOMPARE(m_service.requests("request-token"), 0);
    }

    void keepsTheCookiesOfTheBrowser() {
        m_session->RestoreLogin(key, false);
        QVERIFY(m_service.approve(m_session->InitiateLogin(key, QString()).url));
        NetworkCookie cookie;
        cookie.SetName("VqSession");
        cookie.SetValue("cookie-canary <&\"']]>");
        cookie.SetDomain(L"127.0.0.1");
        cookie.SetHttpOnly(true);
        cookie.SetExpiryDate(4102444800);
        NetworkCookieJar jar;
        jar.AddCookie(cookie);
        QCOMPARE(m_session->CompleteLogin(key, &jar), LoginCode::success);
        QVERIFY(!m_fixture->fileContents().contains("cookie-canary"));
        const auto other = m_fixture->restoredSession();
        QString url;
        NetworkCookieJar returned;
        QVERIFY(other->InitiateLogout(key, url, returned));
        QCOMPARE(returned.GetCookieCount(), 1);
        char value[64] = {};
        QCOMPARE(returned.GetCookie(0).GetValue(value, sizeof value), 21);
        QCOMPARE(QByteArray(value), QByteArray("cookie-canary <&\"']]>"));
        QVERIFY(returned.GetCookie(0).IsHttpOnly());
        QCOMPARE(returned.GetCookie(0).GetExpiryDate(), 4102444800LL);
    }

    void anObserverMayVetoTheSignOut() {
        signIn(*m_session);
        TestKit::RecordingObserver<> observer;
        observer.vetoes = true;
        m_session->observers().add(&observer);
        QNetworkReply::NetworkError error = QNetworkReply::NoError;
        QVERIFY(!m_session->Logout(key, error, false));
        QVERIFY(m_session->isLoggedIn(key));
        QVERIFY(m_fixture->hasLogged("Logout canceled. Some observer vetoed logout in AboutToLogout event."));
        // Asked from another thread, the observer still answers on the main thread, and its answer counts.
        std::thread worker([this, &error] { QVERIFY(!m_session->Logout(key, error, false)); });
        QTRY_COMPARE(observer.heard.count("AboutToLogout"), 2);
        worker.join();
        QVERIFY(m_session->isLoggedIn(key));
    }

    void anObserverMaySignOutInsideLoggedIn() {
        TestKit::RecordingObserver<> first;
        TestKit::RecordingObserver<> second;
        first.reaction = [this, &first] {
            if (first.heard.last() == "LoggedIn")
                QVERIFY(signOut(*m_session));
        };
        m_session->observers().add(&first);
        m_session->observers().add(&second);
        signIn(*m_session);
        QVERIFY(!m_session->isLoggedIn(QString()));
        QVERIFY(!second.heard.contains("LoggedIn"));
        QVERIFY(m_fixture->hasLogged("Aborting sending of web services event LoggedIn to observers in this processes."));
    }

    // While a sign-in waits on the main thread, the host's own queued code runs there and must not break it.
    void theHostMayCallDuringAWait() {
        m_session->RestoreLogin(key, false);
        QVERIFY(m_service.approve(m_session->InitiateLogin(key, QString()).url));
        bool called = false;
        QTimer::singleShot(0, m_session.get(), [this, &called] {
            called = true;
            QNetworkReply::NetworkError error = QNetworkReply::NoError;
            QVERIFY(!m_session->isLoggedIn(QString()));
            QVERIFY(!m_session->Logout(key, error, false));
            QCOMPARE(m_session->CompleteLogin(key, nullptr), LoginCode::exchangeFailed);
            QCOMPARE(m_session->InitiateLogin(key, QString()).code, LoginCode::notReady);
        });
        QCOMPARE(m_session->CompleteLogin(key, nullptr), LoginCode::success);
        QVERIFY(called);
        QCOMPARE(userWhoAsks(*m_session), QStringLiteral("ada"));
    }

    void signsOutHereWhenTheServiceCannotBeReached() {
        signIn(*m_session);
        QVERIFY(m_service.addFault("invalidate-token", "drop", {}, -1));
        QNetworkReply::NetworkError error = QNetworkReply::NoError;
        QVERIFY(m_session->Logout(key, error, false));
        QVERIFY(error != QNetworkReply::NoError);
        QVERIFY(!m_session->isLoggedIn(QString()));
        QVERIFY(
            m_fixture->hasLogged("Failed to logout in server for product Test product. Failed to invalidate token in server. "));
    }

    void doesNotSignWithAnExpiredTokenThatCannotBeRefreshed() {
        signIn(*m_session);
        m_fixture->clockOffset = 2 * 3600;
        QVERIFY(m_service.addFault("access-token", "status", {{"status", 500}}, -1));
        QVERIFY(m_session->SignRequest(key, order()).isEmpty());
        QVERIFY(m_fixture->hasLogged(": Token has expired and failed to refresh token"));
        SigningOrder unchecked = order();
        unchecked.checkExpiry = false;
        QVERIFY(!m_session->SignRequest(key, unchecked).isEmpty());
        QVERIFY(m_service.reset());
    }

    void signsFromManyThreads() {
        signIn(*m_session);
        std::atomic<int> signedCount{0};
        TestKit::Threads threads(8, [&](int) {
            for (int round = 0; round < 50; ++round)
                signedCount += m_session->SignRequest(key, order()).startsWith("OAuth ") ? 1 : 0;
        });
        threads.join();
        QCOMPARE(signedCount.load(), 400);
    }

    void aChangeOfServerSignsOut() {
        signIn(*m_session);
        QVERIFY(m_session->ChangeServer(key, Production, true));
        QVERIFY(m_session->isLoggedIn(key));
        TestKit::RecordingObserver<> observer;
        observer.vetoes = true;
        m_session->observers().add(&observer);
        QVERIFY(!m_session->ChangeServer(key, Staging, true));
        QCOMPARE(m_session->currentServer(), Production);
        observer.vetoes = false;
        QVERIFY(m_session->ChangeServer(key, Staging, true));
        QCOMPARE(m_session->currentServer(), Staging);
        QVERIFY(!m_session->isLoggedIn(QString()));
    }

private:
    SigningOrder order() const {
        SigningOrder made;
        made.request.url = m_service.url().toLatin1() + "/api/echo?a=b%20c&a=b&empty=";
        return made;
    }

    QString userWhoAsks(LoginSession& session) const {
        return m_service.userWhoAsks(order().request.url, session.SignRequest(key, order()));
    }
};

QTEST_GUILESS_MAIN(SignInTest)
#include "SignInTest.moc"
