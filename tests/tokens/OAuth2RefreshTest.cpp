// The refresh of OAuth2 tokens against the account service: ahead of time, with others, and when it fails.

#include "OAuth2Fixture.h"
#include "TestKit/RecordingObserver.h"

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;
using namespace Velquor::WebServices::OAuth2Testing;

class OAuth2RefreshTest : public OAuth2Fixture {
    Q_OBJECT

private slots:
    void init() { begin(); }

    // Two processes at once: the second one waits for the lock of the first, and finds its token in the file.
    void aRefreshOfAnotherProcessIsWaitedFor() {
        QVERIFY(m_session->oauth2().EnableOAuth2(key, jwt));
        const QString first = ask(jwt);
        const auto other = restoredSession({jwt});
        slowDown(700);
        QVERIFY(m_session->oauth2().RefreshOAuth2Token(key, &jwt, false));
        QTRY_VERIFY(m_fixture->hasLogged("Starting network operation in separate thread to refresh OAuth2 token: "));
        QVERIFY(other->oauth2().RefreshOAuth2Token(key, &jwt, true));
        QVERIFY(askOf(*other, jwt) != first);
        QCOMPARE(askOf(*other, jwt), ask(jwt));
        QCOMPARE(forms().size(), 2);
        QVERIFY(m_fixture->hasLogged("OAuth2 token refreshed in another process. Loading the refreshed token in this process."));
    }

    // Neither begins while the other has its lock, whichever comes first, and both come through.
    void refreshesOfBothKindsDoNotOverlap() {
        const TestKit::Rows row(this, [&](bool oauth2First) {
            QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
            QVERIFY(!ask(rt).isEmpty());
            const auto other = restoredSession({rt});
            QVERIFY(m_service.addFault("*", "delay", {{"delay_ms", 600}}, 1));
            const int before = m_service.requests("access-token");
            const TestKit::Stopwatch timer;
            if (oauth2First) {
                QVERIFY(other->oauth2().RefreshOAuth2Token(key, &rt, false));
                QTRY_VERIFY(m_fixture->hasLogged("Starting network operation in separate thread to refresh OAuth2 token"));
                QVERIFY(m_session->RefreshToken(key, true));
                QVERIFY(m_fixture->hasLogged("OAuth2 token refresh is in progress. Waiting for it to finish."));
            } else {
                QVERIFY(other->RefreshToken(key, false));
                QTRY_VERIFY(m_fixture->hasLogged("Starting network operation in separate thread to refresh token"));
                QVERIFY(m_session->oauth2().RefreshOAuth2Token(key, &rt, true));
                QVERIFY(m_fixture->hasLogged("Holding off OAuth2 token refresh since token refresh is in progress."));
            }
            QVERIFY2(timer.elapsed() < TestKit::limitMs(5000), qPrintable(QString::number(timer.elapsed())));
            QCOMPARE(m_service.requests("access-token") - before, 1);
            QCOMPARE(forms().size(), 2);
        });
        row("OAuth2 waits", false);
        row("OAuth 1.0 waits", true);
    }

    void aFailedRefreshKeepsTheToken() {
        const TestKit::Rows row(
            this, [&](const QString& kind, const QJsonObject& details, const QString& logged, const QString& timer) {
                RetrySchedules::instance().set({0, {{7000, 7000}}});
                QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
                const QString first = ask(rt);
                QVERIFY(m_service.addFault(endPoint, kind, details, -1));
                QVERIFY(!m_session->oauth2().RefreshOAuth2Token(key, &rt, true));
                QVERIFY2(m_fixture->hasLogged(logged), qPrintable(m_fixture->logger->texts().join('\n')));
                QTRY_VERIFY(m_fixture->hasLogged(QStringLiteral("OAuth2 token refresh timer started with interval ") + timer));
                // Another change, here of the file, must not bring the next try forward, although the token is due by now.
                m_fixture->clockOffset += hour - 100;
                m_fixture->logger->clear();
                m_fixture->writeFile(m_fixture->fileContents() + '\n');
                QCOMPARE(ask(rt), first);
                QVERIFY(m_fixture->hasLogged("Tokens found. Checking if OAuth2 token needs to be queried."));
                QTest::qWait(200);
                QVERIFY(!m_fixture->hasLogged("OAuth2 token refresh timer started"));
                QVERIFY(m_session->isLoggedIn(key));
                QVERIFY(m_service.control("reset", QJsonObject{{"keep_sessions", true}}).contains("ok"));
                QVERIFY(m_session->oauth2().RefreshOAuth2Token(key, &rt, true));
                QCOMPARE(m_fixture->hasLogged("Ending OAuth2 token refresh retry process"), timer == "7 s");
            });
        row("dropped", "drop", {}, "Failed to refresh OAuth2 token. Will retry token refresh after 1 min. ", "1 min");
        row("HTML", "html", {}, "Failed to refresh OAuth2 token. Failed to parse server response.", "1 min");
        row("401", "status", QJsonObject{{"status", 401}},
            "OAuth2 token refresh retry process active: Retry attempts so far: 1 in ", "7 s");
        row("503", "status", QJsonObject{{"status", 503}},
            "Starting OAuth2 token refresh retry process with following schedule:\nRetry for a period of 7 s at interval 7 s\n"
            "Maximum retry period: Indefinite",
            "7 s");
    }

    void aFinalRefusalSignsOut() {
        TestKit::RecordingObserver<> observer;
        m_session->observers().add(&observer);
        QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
        QVERIFY(!ask(rt).isEmpty());
        QVERIFY(m_service.addFault(endPoint, "status", {{"status", 400}}));
        QVERIFY(!m_session->oauth2().RefreshOAuth2Token(key, &rt, true));
        QVERIFY(m_fixture->hasLogged("Current OAuth2 token cannot be refreshed anymore."));
        QTRY_COMPARE(observer.count("LoggedOut"), 1);
        QVERIFY(!m_session->isLoggedIn(QString()));
        m_session->observers().remove(&observer);
    }

    // The OAuth2 token that makes the refusal irrelevant arrives in the file while the request is under way.
    void looksAtTheFileBeforeItSignsOut() {
        QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
        QVERIFY(!ask(rt).isEmpty());
        QVERIFY(m_service.addFault(endPoint, "status", {{"status", 400}, {"delay_ms", 700}}));
        std::thread asking([this] { QVERIFY(m_session->oauth2().RefreshOAuth2Token(key, &rt, true)); });
        QTRY_VERIFY(m_fixture->hasLogged("Starting network operation in separate thread to refresh OAuth2 token"));
        editProduct([this](QDomElement& product) {
            QDomElement token = product.firstChildElement("OAuth2Tokens").firstChildElement("OAuth2Token");
            putSecret(token, "Token", "newer-token");
            token.setAttribute("ExpiryDate", now().addSecs(2 * hour).toString(Qt::ISODate));
        });
        asking.join();
        QVERIFY(m_session->isLoggedIn(key));
        QCOMPARE(ask(rt), QStringLiteral("newer-token"));
    }
};

QTEST_GUILESS_MAIN(OAuth2RefreshTest)
#include "OAuth2RefreshTest.moc"
