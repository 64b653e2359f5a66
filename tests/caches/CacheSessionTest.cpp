// Cached replies over sign-in, sign-out, refresh and restart, against the account service, which checks every signature.

#include "TestKit/ServiceTest.h"

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;
using TestKit::secondKey;
using TestKit::secondSecret;

class CacheSessionTest : public TestKit::ServiceTest {
    Q_OBJECT

private slots:
    void initTestCase() { startService({"--users", "ada:correct horse", "--users", "bob:battery staple"}); }

    void init() {
        startOver();
        m_session = m_fixture->makeSession();
        signIn(*m_session);
    }

    void answersFromTheService() {
        m_service.control("documents", QJsonObject{{"used", 77}, {"quota", 99}, {"trials", QJsonArray{"Sharing"}}});
        QVERIFY(!m_session->caches().IsCacheEnabled(key, CacheType::UserInfo));
        const auto info = m_session->caches().userInfo(key);
        QVERIFY(info);
        QCOMPARE(info->email, QStringLiteral("ada@example.com"));
        QCOMPARE(info->lastName, QStringLiteral("Example"));
        QVERIFY(m_fixture->hasLogged("User info requested, but cache is not enabled. Enabling it."));
        QVERIFY(m_session->caches().IsCacheEnabled(key, CacheType::UserInfo));
        const auto quota = m_session->caches().quota(key);
        QVERIFY(quota && quota->used == 77 && quota->total == 99);
        const auto list = m_session->caches().entitlements(key);
        QVERIFY(list);
        QCOMPARE(list->answerFor("Storage"), ServiceEntitlement::Entitled);
        QCOMPARE(list->answerFor("Sharing"), ServiceEntitlement::Trial);
        QCOMPARE(list->answerFor("Unknown"), ServiceEntitlement::NotEntitled);
        for (const char* const endpoint : {"account", "entitlement", "quota"})
            QCOMPARE(m_service.requests(QLatin1String(endpoint)), 1);
        for (const char* const name : {"<UserInfo ", "<ServiceEntitlementEx ", "<StorageQuota "})
            QCOMPARE(cacheFile().count(name), 1);
    }

    void anotherProcessStartsFromTheFile() {
        const TestKit::Rows row(this, [&](bool isInvalidated, bool isQuick) {
            QVERIFY(m_session->caches().userInfo(key));
            QVERIFY(m_service.addFault("account", "drop", {}, -1));
            if (isInvalidated)
                m_session->caches().InvalidateCache(key, CacheType::UserInfo);
            if (!isQuick)
                QTRY_VERIFY(m_fixture->hasLogged("User Info: Cache cleared"));
            m_session.reset();
            QCOMPARE(cacheFile().contains("<UserInfo "), !isInvalidated);
            m_fixture->logger->clear();
            const auto other = m_fixture->restoredSession();
            const auto info = other->caches().userInfo(key);
            QCOMPARE(info ? info->userName : QString(), isInvalidated ? QString() : QStringLiteral("ada"));
            if (isInvalidated)
                return;
            QCOMPARE(m_service.requests("account"), 1);
            QTRY_VERIFY(m_fixture->hasLogged("Update not required now. Cache has not expired. It will expire in"));
            QVERIFY(m_fixture->hasLogged("Starting single shot timer with interval 1 h"));
        });
        row("a known value", false, true);
        row("an invalidated one", true, false);
        row("one that is invalidated right before the end", true, true);
    }

    // A new token: the value in memory stays; the one in the file was received with another and is not used.
    void aRefreshedTokenMakesTheFileStale() {
        QVERIFY(m_session->caches().userInfo(key));
        m_session->AddClient({secondKey, 1, "Second", "/opt/second"});
        m_session->SetConfiguration(secondKey, TestKit::SessionFixture::configuration(secondKey, secondSecret));
        m_session->RestoreLogin(secondKey, false);
        QTRY_VERIFY(m_session->isLoggedIn(secondKey));
        QVERIFY(m_session->RefreshToken(key, true));
        QVERIFY(m_session->caches().userInfo(key));
        QTRY_VERIFY(m_fixture->hasLogged("User Info: TokenRefreshed event received"));
        QTest::qWait(100);
        QCOMPARE(m_fixture->logger->count("User Info: TokenRefreshed event received"), 1);
        QCOMPARE(m_service.requests("account"), 1);
        m_session.reset();
        const auto other = m_fixture->restoredSession();
        QVERIFY(other->caches().userInfo(key));
        QVERIFY(m_fixture->hasLogged("User Info: Discarding cache since access token has changed"));
        QCOMPARE(m_service.requests("account"), 2);
    }

    void aSignOutDeletesEverything() {
        const auto second = m_fixture->restoredSession(secondKey, secondSecret);
        QTRY_VERIFY(second->isLoggedIn(secondKey));
        QVERIFY(m_session->caches().userInfo(key));
        QVERIFY(second->caches().userInfo(secondKey));
        QCOMPARE(cacheFile().count("<UserInfo "), 2);
        QVERIFY(signOut(*m_session));
        QVERIFY(!cacheFile().contains("ada"));
        QVERIFY(!m_session->caches().userInfo(key));
        QVERIFY(!m_session->caches().IsCacheAvailable(key, CacheType::UserInfo));
        QVERIFY(m_fixture->hasLogged("Deleting all the caches since user logged out"));
        QVERIFY(m_fixture->hasLogged("Slot called to delete cache User Info, server Production"));
        QTRY_VERIFY(m_fixture->hasLogged("User Info: LoggedOut event received"));
        QVERIFY(!second->isLoggedIn(secondKey));
        QVERIFY(!second->caches().userInfo(secondKey));
        QVERIFY(!cacheFile().contains("ada"));
        // What the client has chosen outlives the sign-in, what it got does not.
        QVERIFY(m_session->caches().IsCacheEnabled(key, CacheType::UserInfo));
        signIn(*m_session);
        QTRY_VERIFY(m_session->caches().IsCacheAvailable(key, CacheType::UserInfo));
    }

    // Values are given out to the user they belong to only, in every product, and are asked for again without being missed.
    void aSecondSignInNeverShowsTheFirstUser() {
        const TestKit::Rows row(this, [&](const QString& user, bool isUpdating) {
            m_session->AddClient({secondKey, 1, "Second", "/opt/second"});
            m_session->SetConfiguration(secondKey, TestKit::SessionFixture::configuration(secondKey, secondSecret));
            m_session->RestoreLogin(secondKey, false);
            QTRY_VERIFY(m_session->isLoggedIn(secondKey));
            QVERIFY(m_session->caches().userInfo(secondKey));
            if (isUpdating) {
                delay("account", 700);
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
        });
        row("another user, a value is known", "bob", false);
        row("another user, an update is under way", "bob", true);
        row("the same user, an update is under way", "ada", true);
    }

    void aSignOutWinsOverAnUpdate() {
        delay("account", 600);
        m_session->caches().EnableCache(key, CacheType::UserInfo, true);
        QTRY_VERIFY(m_fixture->hasLogged("User Info: Starting update in separate thread"));
        QVERIFY(m_session->CompleteLogout(key));
        QTest::qWait(900);
        QVERIFY(!cacheFile().contains("ada"));
        QVERIFY(!m_fixture->hasLogged("User Info: Saved cache to cache file"));
    }

    void stoppingEndsTheWaitForAnUpdate() {
        delay("account", 60000, -1);
        std::thread waiting([this] { QVERIFY(!m_session->caches().userInfo(key)); });
        QTRY_VERIFY(m_fixture->hasLogged("User Info: Waiting for update to finish"));
        const TestKit::Stopwatch timer;
        m_session->stop();
        waiting.join();
        QVERIFY2(timer.elapsed() < TestKit::limitMs(2000), qPrintable(QString::number(timer.elapsed())));
        QVERIFY(m_fixture->hasLogged("Deleting cache objects"));
        QVERIFY(!m_session->caches().userInfo(key));
    }

    void clientsWithoutASignInAskNothing() {
        QVERIFY(m_session->CompleteLogout(key));
        QVERIFY(!m_session->caches().hasProduct(key));
        QVERIFY(!m_session->caches().quota(key));
        QVERIFY(m_session->caches().IsCacheEnabled(key, CacheType::StorageQuota));
        m_session->caches().InvalidateCache(key, CacheType::StorageQuota);
        QVERIFY(m_fixture->hasLogged("Failed to invalidate cache Storage Quota. Cache objects not yet created."));
        m_session->caches().EnableCache(key, static_cast<CacheType>(7), true);
        QVERIFY(!m_session->caches().IsCacheEnabled(key, static_cast<CacheType>(7)));
        QCOMPARE(m_service.requests("quota"), 0);
    }

private:
    QByteArray cacheFile() const { return TestKit::readFile(m_fixture->folder.filePath("WebServicesCache.xml")); }
};

QTEST_GUILESS_MAIN(CacheSessionTest)
#include "CacheSessionTest.moc"
