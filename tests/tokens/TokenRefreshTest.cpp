// Access tokens that stay fresh: queries and refreshes against the account service, which checks every signature.

#include "Session/State/LoginStateFile.h"
#include "TestKit/ServiceTest.h"
#include "TestKit/Soak.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QRandomGenerator>
#include <QThread>
#include <QtTest>
#include <thread>

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

namespace {

const auto key = QStringLiteral("demo-product-0001");
const auto secondKey = QStringLiteral("second-product-0002");
const auto secondSecret = QStringLiteral("demo-secret-0002");

class Observer : public IWebServicesObserver {
public:
    void LoggedOut() override { ++loggedOut; }
    int loggedOut = 0;
};

} // namespace

class TokenRefreshTest : public TestKit::ServiceTest {
    Q_OBJECT

private slots:
    void initTestCase() { startService(); }

    void init() {
        beginAnew();
        m_session = m_fixture->makeSession();
        signIn(*m_session);
        m_before = m_service.requests(QStringLiteral("access-token"));
    }

    void cleanup() {
        m_session.reset();
        m_fixture.reset();
    }

    void refreshesAnExpiredTokenForAllWhoAsk() {
        const QString before = accessToken(*m_session);
        expire();
        std::atomic<int> good{0};
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 8; ++thread)
            threads.emplace_back([&] { good += m_session->SignRequest(key, order()).isEmpty() ? 0 : 1; });
        for (std::thread& thread : threads)
            thread.join();
        QCOMPARE(good.load(), 8);
        QCOMPARE(queries(), 1);
        QVERIFY(accessToken(*m_session) != before);
        QVERIFY(m_fixture->hasLogged(QStringLiteral("Token refreshed successfully. Token expires in ")));
    }

    void aSecondProcessAdoptsInsteadOfAsking() {
        const auto other = m_fixture->makeSession();
        QVERIFY(other->RestoreLogin(key, false));
        expire();
        QVERIFY(!m_session->SignRequest(key, order()).isEmpty());
        QVERIFY(!other->SignRequest(key, order()).isEmpty());
        QCOMPARE(queries(), 1);
        QCOMPARE(accessToken(*other), accessToken(*m_session));
    }

    void refreshesAtWish() {
        const QString before = accessToken(*m_session);
        QVERIFY(m_session->RefreshToken(key, true));
        QVERIFY(accessToken(*m_session) != before);
        QVERIFY(m_session->RefreshToken(key, false));
        QTRY_COMPARE(queries(), 2);
        QVERIFY(!m_session->RefreshToken(QStringLiteral("unknown"), true));
    }

    void refreshesAheadOfTime() {
        // A token with less than five minutes left is renewed by the timer after two seconds.
        m_service.control(QStringLiteral("lifetimes"), QJsonObject{{"token", 200}});
        QVERIFY(m_session->RefreshToken(key, true));
        // Although it ends before the one in the file, which is spent.
        QCOMPARE(m_fixture->tokenInFile(), accessToken(*m_session));
        m_service.control(QStringLiteral("lifetimes"), QJsonObject{{"token", 3600}});
        QTRY_COMPARE_WITH_TIMEOUT(queries(), 2, 5000);
        QVERIFY(m_fixture->hasLogged(QStringLiteral("Token refresh timer started with interval 2 s")));
        QVERIFY(m_fixture->hasLogged(QStringLiteral("Time to refresh now.")));
        QTRY_VERIFY(m_fixture->hasLogged(QStringLiteral("Token refresh timer started with interval 10 min")));
    }

    void keepsTokenAndSignInWhenARefreshFails_data() {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QJsonObject>("details");
        QTest::addColumn<QString>("logged");
        const auto network = QStringLiteral("Failed to refresh token. Will retry token refresh after 1 min. ");
        QTest::newRow("dropped") << "drop" << QJsonObject() << network;
        QTest::newRow("cut short") << "truncate" << QJsonObject{{"keep_bytes", 10}} << network;
        QTest::newRow("captive portal") << "html" << QJsonObject()
                                        << "Failed to parse token refresh response returned by server.";
        QTest::newRow("no secret") << "missing" << QJsonObject{{"parameters", QJsonArray{"oauth_token_secret"}}}
                                   << "Failed to parse token refresh response returned by server.";
        QTest::newRow("500") << "status" << QJsonObject{{"status", 500}} << "Will retry token refresh after 1 min";
        QTest::newRow("401") << "status" << QJsonObject{{"status", 401}} << "Will retry token refresh after 1 min";
        QTest::newRow("400 by a wrong clock")
            << "problem" << QJsonObject{{"status", 400}, {"problem", "message_expired"}} << "Will retry token refresh after 2 s";
    }

    void keepsTokenAndSignInWhenARefreshFails() {
        QFETCH(QString, kind);
        QFETCH(QJsonObject, details);
        QFETCH(QString, logged);
        const QString before = accessToken(*m_session);
        QVERIFY(m_service.addFault(QStringLiteral("access-token"), kind, details, -1));
        QVERIFY(!m_session->RefreshToken(key, true));
        QVERIFY2(m_fixture->hasLogged(logged), qPrintable(m_fixture->logger->texts().join('\n')));
        QCOMPARE(accessToken(*m_session), before);
        QVERIFY(m_session->isLoggedIn(key));
        QVERIFY(m_service.reset());
    }

    void aRefusalForGoodSignsOut() {
        Observer observer;
        m_session->observers().add(&observer);
        m_service.control(QStringLiteral("expire"), QJsonObject{{"what", "sessions"}});
        QVERIFY(!m_session->RefreshToken(key, true));
        QVERIFY(m_fixture->hasLogged(QStringLiteral("Current token is invalid and cannot be refreshed anymore.")));
        QTRY_COMPARE(observer.loggedOut, 1);
        QVERIFY(!m_session->isLoggedIn(QString()));
        m_session->observers().remove(&observer);
    }

    // The main thread is busy while the user signs in anew on another one: the sign-out was decided for the sign-in before.
    void aForcedSignOutDoesNotEndALaterSignIn() {
        const InitiatedLogin login = m_session->InitiateLogin(key, QString());
        QVERIFY(m_service.approve(login.url));
        QVERIFY(m_service.addFault(QStringLiteral("access-token"), QStringLiteral("problem"),
                                   {{"status", 400}, {"problem", "token_rejected"}}, 1));
        std::thread([this] { QVERIFY(!m_session->RefreshToken(key, true)); }).join();
        QThread::msleep(1100); // sign-ins are told apart by the second
        std::thread([this] { QCOMPARE(m_session->CompleteLogin(key, nullptr), LoginCode::success); }).join();
        QVERIFY(m_fixture->hasLogged(QStringLiteral("Current token is invalid and cannot be refreshed anymore.")));
        QTest::qWait(200);
        QVERIFY(m_session->isLoggedIn(key));
        QVERIFY(!m_session->SignRequest(key, order()).isEmpty());
        QVERIFY(m_session->RefreshToken(key, true));
    }

    // The token was spent by another process, whose result is in the file by the time of the refusal.
    void looksAtTheFileBeforeItSignsOut() {
        const auto other = m_fixture->makeSession();
        QVERIFY(other->RestoreLogin(key, false));
        QVERIFY(m_service.addFault(QStringLiteral("access-token"), QStringLiteral("problem"),
                                   {{"status", 400}, {"problem", "token_rejected"}, {"delay_ms", 700}}));
        std::thread asking([this] { QVERIFY(m_session->RefreshToken(key, true)); });
        QTRY_VERIFY(isRequestSent());
        // What the other process does meanwhile, with a lock that we do not have.
        storeNewerToken(*other);
        asking.join();
        QVERIFY(m_session->isLoggedIn(key));
        QCOMPARE(accessToken(*m_session), QStringLiteral("newer-token"));
    }

    // The service has renewed the token, but its answer got lost on the way.
    void survivesALostAnswer() {
        QVERIFY(m_service.addFault(QStringLiteral("access-token"), QStringLiteral("drop"), {{"carry_out", true}}, 1));
        QVERIFY(!m_session->RefreshToken(key, true));
        QVERIFY(m_session->RefreshToken(key, true));
        QVERIFY(m_session->isLoggedIn(key));
        QVERIFY(!m_session->SignRequest(key, order()).isEmpty());
    }

    void fiveRefusalsSignOut() {
        QVERIFY(m_service.addFault(QStringLiteral("access-token"), QStringLiteral("status"), {{"status", 503}}, -1));
        for (int attempt = 1; attempt <= 5; ++attempt) {
            QVERIFY(m_session->isLoggedIn(key));
            QVERIFY(!m_session->RefreshToken(key, true));
        }
        QVERIFY(m_fixture->hasLogged(QStringLiteral("Failed to refresh token after 5 attempts.")));
        QTRY_VERIFY(!m_session->isLoggedIn(QString()));
        QVERIFY(m_service.reset());
    }

    void aSignOutElsewhereWinsOverARefresh() {
        const auto other = m_fixture->makeSession();
        QVERIFY(other->RestoreLogin(key, false));
        QVERIFY(m_service.addFault(QStringLiteral("access-token"), QStringLiteral("delay"), {{"delay_ms", 500}}));
        QVERIFY(m_session->RefreshToken(key, false));
        QTRY_VERIFY(isRequestSent());
        QNetworkReply::NetworkError error = QNetworkReply::NoError;
        QVERIFY(other->Logout(key, error, false));
        QTRY_VERIFY(m_fixture->hasLogged(QStringLiteral("Failed to refresh token. Not logged in.")));
        QVERIFY(!m_fixture->fileContents().contains("LoginSession"));
        QVERIFY(!m_session->isLoggedIn(QString()));
    }

    void whoIsRefusedAnywayDoesNotWaitForTokens() {
        QVERIFY(m_service.addFault(QStringLiteral("access-token"), QStringLiteral("delay"), {{"delay_ms", 1500}}));
        QVERIFY(m_session->RefreshToken(key, false));
        QTRY_VERIFY(isRequestSent());
        m_fixture->clockOffset += 100 * 24 * 3600;
        QElapsedTimer timer;
        timer.start();
        QVERIFY(m_session->SignRequest(key, order()).isEmpty());
        QVERIFY2(timer.elapsed() < 1000, qPrintable(QString::number(timer.elapsed())));
        QVERIFY(m_fixture->hasLogged(QStringLiteral("https://127.0.0.1/api/echo: Login state is not valid.")));
    }

    void aSignOutDuringTheRefreshIsTheReasonOfTheRefusal() {
        const auto other = m_fixture->makeSession();
        QVERIFY(other->RestoreLogin(key, false));
        QVERIFY(m_service.addFault(QStringLiteral("access-token"), QStringLiteral("delay"), {{"delay_ms", 700}}));
        expire();
        std::thread caller([this] { QVERIFY(m_session->SignRequest(key, order()).isEmpty()); });
        QTRY_VERIFY(isRequestSent());
        QNetworkReply::NetworkError error = QNetworkReply::NoError;
        QVERIFY(other->Logout(key, error, false));
        caller.join();
        QVERIFY(m_fixture->hasLogged(
            QStringLiteral("SignRequest failed while signing url https://127.0.0.1/api/echo: Not logged in")));
    }

    void aSecondProductSignsInByItself() {
        const auto second = m_fixture->makeSession(secondKey, secondSecret);
        QVERIFY(second->RestoreLogin(secondKey, false));
        QVERIFY(second->isLoggedIn(QString()));
        QTRY_VERIFY(second->isLoggedIn(secondKey));
        QCOMPARE(queries(), 1);
        QVERIFY(accessToken(*second, secondKey) != accessToken(*m_session));
        QVERIFY(!second->SignRequest(secondKey, order()).isEmpty());
        // The file holds both, and the first product's own saves keep the second one's.
        QVERIFY(m_session->RefreshToken(key, true));
        const auto third = m_fixture->makeSession(secondKey, secondSecret);
        QVERIFY(third->RestoreLogin(secondKey, false));
        QCOMPARE(accessToken(*third, secondKey), accessToken(*second, secondKey));
        QCOMPARE(queries(), 2);
    }

    void aSecondProductOfTheSameProcessSignsInAfterTheFirst() {
        m_session->AddClient({secondKey, 1, QStringLiteral("Second"), QStringLiteral("/opt/second")});
        QVERIFY(m_session->SetConfiguration(secondKey, TestKit::SessionFixture::configuration(secondKey, secondSecret)));
        QTRY_VERIFY(m_session->isLoggedIn(secondKey));
        QVERIFY(!m_session->SignRequest(secondKey, order()).isEmpty());
    }

    void anAutomaticSignInIsTriedSixTimes() {
        QVERIFY(m_service.addFault(QStringLiteral("access-token"), QStringLiteral("status"), {{"status", 500}}, 1));
        const auto second = m_fixture->makeSession(secondKey, secondSecret);
        QVERIFY(second->RestoreLogin(secondKey, false));
        QTRY_VERIFY(m_fixture->hasLogged(QStringLiteral("Token query timer started with interval 5 s")));
        QVERIFY(!second->isLoggedIn(secondKey));
        QVERIFY(m_service.addFault(QStringLiteral("access-token"), QStringLiteral("problem"),
                                   {{"status", 400}, {"problem", "token_rejected"}}, 1));
        // Asked again before its timer, it gives up at once when the server says that it is hopeless.
        QVERIFY(second->RestoreLogin(secondKey, false));
        QVERIFY(second->SetConfiguration(secondKey, TestKit::SessionFixture::configuration(secondKey, secondSecret)));
        QTRY_VERIFY(
            m_fixture->hasLogged(QStringLiteral("Failed to login automatically using another product's login credentials.")));
        QVERIFY(!second->isLoggedIn(secondKey));
        QVERIFY(second->isLoggedIn(QString()));
    }

    void stoppingEndsEveryWait() {
        QVERIFY(m_service.addFault(QStringLiteral("access-token"), QStringLiteral("delay"), {{"delay_ms", 5000}}, -1));
        expire();
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 4; ++thread)
            threads.emplace_back([this] { QVERIFY(m_session->SignRequest(key, order()).isEmpty()); });
        QTRY_VERIFY(isRequestSent());
        QElapsedTimer timer;
        timer.start();
        m_session->stop();
        for (std::thread& thread : threads)
            thread.join();
        QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
        QVERIFY(m_session->SignRequest(key, order()).isEmpty());
    }

    // The service has answered, and the old token is spent.
    void aStopWhileTokensAreSavedKeepsThem() {
        const QString before = m_fixture->tokenInFile();
        std::atomic<bool> isHeld{false};
        std::atomic<bool> isStopping{false};
        std::thread holder([&] {
            LoginStateFile file(m_fixture->file(), m_fixture->logger);
            const LoginStateFile::Guard guard(file);
            isHeld = true;
            while (!isStopping)
                QThread::msleep(5);
            QThread::msleep(200);
        });
        QTRY_VERIFY(isHeld);
        QVERIFY(m_session->RefreshToken(key, false));
        QTRY_VERIFY(m_fixture->hasLogged(QStringLiteral("Token refresh network operation thread finished")));
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
        m_service.control(QStringLiteral("lifetimes"), QJsonObject{{"token", 60}});
        m_session.reset();
        qint64 longest = 0;
        for (int round = 0; round < rounds; ++round) {
            m_fixture->clockOffset += round == 0 ? 3601 : 61;
            const bool isSecond = round % 2 == 1;
            auto session = isSecond ? m_fixture->makeSession(secondKey, secondSecret) : m_fixture->makeSession();
            const QString& clientKey = isSecond ? secondKey : key;
            Observer observer;
            session->observers().add(&observer);
            session->RestoreLogin(clientKey, false);
            std::thread caller([&session, &clientKey] { (void)session->SignRequest(clientKey, order()); });
            QThread::msleep(QRandomGenerator::global()->bounded(12));
            QElapsedTimer timer;
            timer.start();
            session->stop();
            longest = qMax(longest, timer.elapsed());
            const int heard = observer.loggedOut;
            caller.join();
            QCoreApplication::processEvents();
            QCOMPARE(observer.loggedOut, heard);
        }
        TestKit::figure(QStringLiteral("longest stop at a random moment of a query or refresh"), QStringLiteral("< 2 s"),
                        QStringLiteral("%1 ms (%2 stops)").arg(longest).arg(rounds));
        QVERIFY2(longest < 2000, qPrintable(QString::number(longest)));
        const auto session = m_fixture->makeSession();
        QVERIFY(session->RestoreLogin(key, false));
        QVERIFY(session->isLoggedIn(key));
    }

    void stoppingEndsASignIn() {
        QVERIFY(m_service.addFault(QStringLiteral("request-token"), QStringLiteral("delay"), {{"delay_ms", 5000}}, -1));
        std::thread caller([this] { QCOMPARE(m_session->InitiateLogin(key, QString()).code, LoginCode::exchangeFailed); });
        QTRY_VERIFY(m_fixture->hasLogged(QStringLiteral("Initiating login with ldap domain")));
        QTest::qWait(100);
        QElapsedTimer timer;
        timer.start();
        m_session->stop();
        caller.join();
        QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
        QCOMPARE(m_session->InitiateLogin(key, QString()).code, LoginCode::notReady);
    }

private:
    void expire() { m_fixture->clockOffset += 3601; }

    int queries() { return m_service.requests(QStringLiteral("access-token")) - m_before; }

    // The service counts a request when it has answered; here the answer is still to come.
    bool isRequestSent() const {
        return m_fixture->hasLogged(QStringLiteral("Starting network operation in separate thread to refresh token"));
    }

    static SigningOrder order() {
        SigningOrder made;
        made.request.url = QUrl(QStringLiteral("https://127.0.0.1/api/echo"));
        return made;
    }

    static QString accessToken(LoginSession& session, const QString& clientKey = key) {
        Util::SecretBytes token;
        Util::SecretBytes secret;
        return session.GetAccessToken(clientKey, false, token, secret) ? token.toText() : QString();
    }

    void storeNewerToken(LoginSession& other) const {
        QDomDocument document;
        QVERIFY(document.setContent(m_fixture->fileContents()));
        QDomElement product = document.documentElement()
                                  .firstChildElement(QStringLiteral("LoginSession"))
                                  .firstChildElement(QStringLiteral("Products"))
                                  .firstChildElement(QStringLiteral("Product"));
        QDomElement token = product.firstChildElement(QStringLiteral("AccessToken"));
        token.firstChild().toCDATASection().setData(QString::fromLatin1(m_fixture->cryptor->encrypt("newer-token")));
        product.setAttribute(QStringLiteral("TokenExpiryDate"), other.tokens(key).expiryDate.addSecs(60).toString(Qt::ISODate));
        m_fixture->writeFile(document.toByteArray());
    }

    TestKit::SessionUnderTest m_session;
    int m_before = 0;
};

QTEST_GUILESS_MAIN(TokenRefreshTest)
#include "TokenRefreshTest.moc"
