// Cached replies over sign-in, sign-out, refresh and restart, against the account service, which checks every signature.

#include "TestKit/ServiceTest.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QJsonArray>
#include <QtTest>
#include <thread>

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

namespace {

const auto key = QStringLiteral("demo-product-0001");
const auto secondKey = QStringLiteral("second-product-0002");
const auto secondSecret = QStringLiteral("demo-secret-0002");

} // namespace

class CacheSessionTest : public TestKit::ServiceTest {
    Q_OBJECT

private slots:
    void initTestCase() {
        startService({QStringLiteral("--users"), QStringLiteral("ada:correct horse"), QStringLiteral("--users"),
                      QStringLiteral("bob:battery staple")});
    }

    void init() {
        beginAnew();
        m_session = m_fixture->makeSession();
        signIn(*m_session);
    }

    void cleanup() {
        m_session.reset();
        m_fixture.reset();
    }

    void answersFromTheService() {
        m_service.control(QStringLiteral("documents"),
                          QJsonObject{{"used", 77}, {"quota", 99}, {"trials", QJsonArray{"Sharing"}}});
        QVERIFY(!m_session->caches().IsCacheEnabled(key, CacheType::UserInfo));
        const auto info = m_session->caches().userInfo(key);
        QVERIFY(info);
        QCOMPARE(info->email, QStringLiteral("ada@example.com"));
        QCOMPARE(info->lastName, QStringLiteral("Example"));
        QVERIFY(m_fixture->hasLogged(QStringLiteral("User info requested, but cache is not enabled. Enabling it.")));
        QVERIFY(m_session->caches().IsCacheEnabled(key, CacheType::UserInfo));
        const auto quota = m_session->caches().quota(key);
        QVERIFY(quota && quota->used == 77 && quota->total == 99);
        const auto list = m_session->caches().entitlements(key);
        QVERIFY(list);
        QCOMPARE(list->answerFor(QStringLiteral("Storage")), ServiceEntitlement::Entitled);
        QCOMPARE(list->answerFor(QStringLiteral("Sharing")), ServiceEntitlement::Trial);
        QCOMPARE(list->answerFor(QStringLiteral("Unknown")), ServiceEntitlement::NotEntitled);
        for (const char* const endpoint : {"account", "entitlement", "quota"})
            QCOMPARE(m_service.requests(QLatin1String(endpoint)), 1);
        for (const char* const name : {"<UserInfo ", "<ServiceEntitlementEx ", "<StorageQuota "})
            QCOMPARE(cacheFile().count(name), 1);
    }

    void anotherProcessStartsFromTheFile() {
        QVERIFY(m_session->caches().userInfo(key));
        m_session.reset();
        const auto other = m_fixture->makeSession();
        QVERIFY(other->RestoreLogin(key, false));
        QVERIFY(m_service.addFault(QStringLiteral("account"), QStringLiteral("drop"), {}, -1));
        const auto info = other->caches().userInfo(key);
        QVERIFY(info);
        QCOMPARE(info->userName, QStringLiteral("ada"));
        QCOMPARE(m_service.requests(QStringLiteral("account")), 1);
    }

    // A new token: the value in memory stays; the one in the file was received with another and is not used.
    void aRefreshedTokenMakesTheFileStale() {
        QVERIFY(m_session->caches().userInfo(key));
        QVERIFY(m_session->RefreshToken(key, true));
        QVERIFY(m_session->caches().userInfo(key));
        QTRY_VERIFY(m_fixture->hasLogged(QStringLiteral("User Info: TokenRefreshed event received")));
        QCOMPARE(m_service.requests(QStringLiteral("account")), 1);
        m_session.reset();
        const auto other = m_fixture->makeSession();
        QVERIFY(other->RestoreLogin(key, false));
        QVERIFY(other->caches().userInfo(key));
        QVERIFY(m_fixture->hasLogged(QStringLiteral("User Info: Discarding cache since access token has changed")));
        QCOMPARE(m_service.requests(QStringLiteral("account")), 2);
    }

    void anExpiredTokenIsWaitedFor() {
        m_fixture->clockOffset = 3601;
        QVERIFY(!m_session->caches().userInfo(key));
        QVERIFY(m_session->RefreshToken(key, true));
        QTRY_VERIFY(m_session->caches().IsCacheAvailable(key, CacheType::UserInfo));
    }

    void aSignOutDeletesEverything() {
        const auto second = m_fixture->makeSession(secondKey, secondSecret);
        second->RestoreLogin(secondKey, false);
        QTRY_VERIFY(second->isLoggedIn(secondKey));
        QVERIFY(m_session->caches().userInfo(key));
        QVERIFY(second->caches().userInfo(secondKey));
        QCOMPARE(cacheFile().count("<UserInfo "), 2);
        QNetworkReply::NetworkError error = QNetworkReply::NoError;
        QVERIFY(m_session->Logout(key, error, true));
        QVERIFY(!cacheFile().contains("ada"));
        QVERIFY(!m_session->caches().userInfo(key));
        QVERIFY(!m_session->caches().IsCacheAvailable(key, CacheType::UserInfo));
        QVERIFY(m_fixture->hasLogged(QStringLiteral("Deleting all the caches since user logged out")));
        QVERIFY(m_fixture->hasLogged(QStringLiteral("Slot called to delete cache User Info, server Production")));
        QTRY_VERIFY(m_fixture->hasLogged(QStringLiteral("User Info: LoggedOut event received")));
        QVERIFY(!second->isLoggedIn(secondKey));
        QVERIFY(!second->caches().userInfo(secondKey));
        QVERIFY(!cacheFile().contains("ada"));
        // What the client has chosen outlives the sign-in, what it got does not.
        QVERIFY(m_session->caches().IsCacheEnabled(key, CacheType::UserInfo));
        signIn(*m_session);
        QTRY_VERIFY(m_session->caches().IsCacheAvailable(key, CacheType::UserInfo));
    }

    void aSignInOverASignIn_data() {
        QTest::addColumn<QString>("user");
        QTest::addColumn<bool>("isUpdating");
        QTest::newRow("another user, a value is known") << "bob" << false;
        QTest::newRow("another user, an update is under way") << "bob" << true;
        QTest::newRow("the same user, an update is under way") << "ada" << true;
    }

    // Values are given out to the user they belong to only, in every product, and are asked for again without being missed.
    void aSignInOverASignIn() {
        QFETCH(QString, user);
        QFETCH(bool, isUpdating);
        m_session->AddClient({secondKey, 1, QStringLiteral("Second"), QStringLiteral("/opt/second")});
        m_session->SetConfiguration(secondKey, TestKit::SessionFixture::configuration(secondKey, secondSecret));
        m_session->RestoreLogin(secondKey, false);
        QTRY_VERIFY(m_session->isLoggedIn(secondKey));
        QVERIFY(m_session->caches().userInfo(secondKey));
        if (isUpdating) {
            QVERIFY(m_service.addFault(QStringLiteral("account"), QStringLiteral("delay"), {{"delay_ms", 700}}));
            m_session->caches().EnableCache(key, CacheType::UserInfo, true);
            const auto started = QStringLiteral("User Info: Starting update in separate thread");
            QTRY_COMPARE(m_fixture->logger->texts().filter(started).size(), 2);
        } else {
            QVERIFY(m_session->caches().userInfo(key));
        }
        // Dates in the file are whole seconds, and no user is as fast as this test.
        m_fixture->clockOffset = 2;
        signIn(*m_session, key, user);
        for (const QString& product : {key, secondKey}) {
            QTRY_VERIFY(m_session->caches().IsCacheAvailable(product, CacheType::UserInfo));
            QCOMPARE(m_session->caches().userInfo(product)->userName, user);
        }
    }

    void aSignOutWinsOverAnUpdate() {
        QVERIFY(m_service.addFault(QStringLiteral("account"), QStringLiteral("delay"), {{"delay_ms", 600}}));
        m_session->caches().EnableCache(key, CacheType::UserInfo, true);
        QTRY_VERIFY(m_fixture->hasLogged(QStringLiteral("User Info: Starting update in separate thread")));
        QVERIFY(m_session->CompleteLogout(key));
        QTest::qWait(900);
        QVERIFY(!cacheFile().contains("ada"));
        QVERIFY(!m_fixture->hasLogged(QStringLiteral("User Info: Saved cache to cache file")));
    }

    void stoppingEndsAWait() {
        QVERIFY(m_service.addFault(QStringLiteral("account"), QStringLiteral("delay"), {{"delay_ms", 5000}}, -1));
        std::thread waiting([this] { QVERIFY(!m_session->caches().userInfo(key)); });
        QTRY_VERIFY(m_fixture->hasLogged(QStringLiteral("User Info: Waiting for update to finish")));
        QElapsedTimer timer;
        timer.start();
        m_session->stop();
        waiting.join();
        QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
        QVERIFY(m_fixture->hasLogged(QStringLiteral("Deleting cache objects")));
        QVERIFY(!m_session->caches().userInfo(key));
    }

    void asksConditionally() {
        QVERIFY(m_session->caches().userInfo(key));
        m_fixture->clockOffset = 1;
        m_session->caches().EnableCache(key, CacheType::UserInfo, false);
        m_session->caches().InvalidateCache(key, CacheType::UserInfo);
        QTRY_VERIFY(m_fixture->hasLogged(QStringLiteral("User Info: Cache cleared")));
        QVERIFY(m_session->caches().userInfo(key));
        QCOMPARE(m_service.requests(QStringLiteral("account")), 2);
        // A day later with a token that still lives: the service has nothing new.
        m_service.control(QStringLiteral("lifetimes"), QJsonObject{{"token", 400000}});
        QVERIFY(m_session->RefreshToken(key, true));
        m_fixture->clockOffset = 86400 * 2;
        QTRY_VERIFY(m_session->caches().userInfo(key));
        QVERIFY(m_session->RefreshToken(key, true));
        // When the refresh is not quite over yet, the cache tries again after 5 seconds.
        QTRY_VERIFY2_WITH_TIMEOUT(
            m_fixture->hasLogged(QStringLiteral("User Info: Finished update. Cache not modified since server returned 304.")),
            qPrintable(m_fixture->logger->texts().filter(QStringLiteral("User Info")).join(QLatin1Char(10))), 12000);
    }

    void clientsWithoutASignIn() {
        QVERIFY(m_session->CompleteLogout(key));
        QVERIFY(!m_session->caches().hasProduct(key));
        QVERIFY(!m_session->caches().quota(key));
        QVERIFY(m_session->caches().IsCacheEnabled(key, CacheType::StorageQuota));
        m_session->caches().InvalidateCache(key, CacheType::StorageQuota);
        QVERIFY(m_fixture->hasLogged(QStringLiteral("Failed to invalidate cache Storage Quota. Cache objects not yet created.")));
        m_session->caches().EnableCache(key, static_cast<CacheType>(7), true);
        QVERIFY(!m_session->caches().IsCacheEnabled(key, static_cast<CacheType>(7)));
        QCOMPARE(m_service.requests(QStringLiteral("quota")), 0);
    }

private:
    QByteArray cacheFile() const {
        QFile file(QFileInfo(m_fixture->file()).path() + QStringLiteral("/WebServicesCache.xml"));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    TestKit::SessionUnderTest m_session;
};

QTEST_GUILESS_MAIN(CacheSessionTest)
#include "CacheSessionTest.moc"
