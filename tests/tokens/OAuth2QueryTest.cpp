// OAuth2 tokens against the account service: how they are asked for, and what must be true for it.

#include "OAuth2Fixture.h"

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;
using namespace Velquor::WebServices::OAuth2Testing;

class OAuth2QueryTest : public OAuth2Fixture {
    Q_OBJECT

private slots:
    void init() { begin(); }

    void queriesAndRefreshesSendTheDocumentedForm() {
        const TestKit::Rows row(this, [&](const OAuth2TokenSpec& spec, const QString& query, const QString& refresh) {
            QVERIFY(m_session->oauth2().EnableOAuth2(key, spec));
            const QString first = ask(spec);
            QVERIFY(!first.isEmpty());
            QCOMPARE(forms(), QStringList{query});
            QTRY_VERIFY(m_fixture->hasLogged("Raising web services event OAuth2TokenAvailable"));
            QVERIFY(m_session->oauth2().RefreshOAuth2Token(key, &spec, true));
            QCOMPARE(forms(), QStringList({query, refresh}));
            QVERIFY(ask(spec) != first);
            QCOMPARE(ask(spec), stored(spec));
            QTRY_VERIFY(m_session->oauth2().isRefreshTimerActive(key, &spec));
            QVERIFY(m_fixture->hasLogged("OAuth2 token refreshed successfully. OAuth2 token expires in 59 min 5"));
            expectNoSecrets({first, ask(spec)});
        });
        const auto names = QStringLiteral("client_id&client_secret&oauth1_token&oauth1_secret&token_type=");
        row("RT without scope", rt, names, names);
        row("RT with scope", OAuth2TokenSpec(RT, L" b & c=d  a%20"), names + "&scope=& a%20 b c=d",
            names + "&scope=& a%20 b c=d");
        row("JWT", jwt, names + "jwt&scope=data openid", names + "Jwt&scope=data openid");
        row("the older interface", OAuth2Settings::legacySpec(), names + "&scope=legacy", names + "&scope=legacy");
    }

    void nothingIsAskedWithoutOAuth2SignInOrSpec() {
        const TestKit::Rows row(this, [&](bool enabled, bool signedIn, const QString& get, const QString& refresh) {
            if (enabled)
                QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
            if (!signedIn)
                QVERIFY(signOut(*m_session));
            QVERIFY(ask(jwt).isEmpty());
            QVERIFY(m_fixture->hasLogged(get));
            QVERIFY(!m_session->oauth2().RefreshOAuth2Token(key, &jwt, true));
            QVERIFY(m_fixture->hasLogged(refresh));
            const QString whole = m_fixture->logger->texts().filter(get).first();
            QCOMPARE(m_fixture->logger->prefixes(whole), QStringList(signedIn ? "Test product.0001.0" : ""));
            QVERIFY(!m_session->oauth2().EnableOAuth2("unknown", rt));
            QVERIFY(!m_session->oauth2().EnableOAuth2(key, OAuth2TokenSpec(InvalidTokenType, L"")));
        });
        row("not enabled", false, true, "GetOAuth2AccessToken failed: OAuth2 is not enabled.",
            "Failed to refresh OAuth2 token. OAuth2 is not enabled.");
        row("not signed in", true, false, "GetOAuth2AccessToken failed: Not logged in. Returning empty token.",
            "Failed to refresh OAuth2 token. User not logged in.");
        row("another spec", true, true,
            "GetOAuth2AccessToken failed: OAuth2 session not found for OAuth2 type JWT and scope data openid.",
            "Failed to refresh OAuth2 token. OAuth2 session not found for OAuth2 type JWT and scope data openid.");
    }

    void doesNotWaitWhenItMustNot() {
        slowDown(1500);
        QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
        const TestKit::Stopwatch timer;
        QVERIFY(!m_session->oauth2().GetOAuth2AccessToken(key, &rt, false).IsValid());
        QVERIFY2(!TestKit::isSoak() || timer.elapsed() < 500, qPrintable(QString::number(timer.elapsed())));
        QVERIFY(m_fixture->hasLogged("Returning empty token without waiting since waitToFinish is false."));
        QVERIFY(!ask(rt).isEmpty());
        QCOMPARE(forms().size(), 1);
    }

    void withoutKeysNothingIsAsked() {
        m_session = restoredSession({rt}, TestKit::SessionFixture::configuration(key, "demo-secret-0001"));
        QVERIFY(m_fixture->hasLogged("OAuth2 enabled, but OAuth2 consumer keys are not set for Production server."));
        QVERIFY(ask(rt).isEmpty());
        QVERIFY(m_fixture->hasLogged("Cannot query OAuth2 token. OAuth2 keys not set."));
        QCOMPARE(forms(), QStringList());
    }

    void failedQueriesAreTriedAgain() {
        const TestKit::Rows row(this, [&](const QString& kind, const QJsonObject& details, const QString& logged) {
            QVERIFY(m_service.addFault(endPoint, kind, details, -1));
            QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
            QVERIFY(ask(rt).isEmpty());
            QVERIFY2(m_fixture->hasLogged(logged), qPrintable(m_fixture->logger->texts().join('\n')));
            QTRY_VERIFY(m_fixture->hasLogged("OAuth2 token query timer started with interval 30 s"));
            QVERIFY(m_session->isLoggedIn(key));
            expectNoSecrets({"canary-token", "canary token"});
            QVERIFY(m_service.control("reset", QJsonObject{{"keep_sessions", true}}).contains("ok"));
            QVERIFY(!ask(rt).isEmpty());
        });
        const auto unparsable = QStringLiteral("Failed to parse server response. Will retry after 30 s. Response body:");
        const auto body = [](const char* json) {
            return QJsonObject{{"status", 200}, {"body", json}, {"content_type", "application/json"}};
        };
        row("dropped", "drop", {}, "Failed to get OAuth2 token. Will retry after 30 s. ");
        row("500", "status", QJsonObject{{"status", 500}}, "Failed to get OAuth2 token. Will retry after 30 s. ");
        row("400", "status", QJsonObject{{"status", 400}}, "Failed to get OAuth2 token. Will retry after 30 s. ");
        row("captive portal", "html", {}, unparsable);
        row("empty", "status", QJsonObject{{"status", 200}}, "Response body from server is empty.");
        row("negative lifetime", "status", body(R"({"access_token": "canary-token", "expires_in": -1})"), unparsable);
        row("a type that nobody knows", "status",
            body(R"({"access_token": "canary-token", "expires_in": 9, "token_type": "mac"})"), unparsable);
        row("a token that is none", "status", body(R"({"access_token": "canary token", "expires_in": 9})"), unparsable);
    }

    // The OAuth 1.0 token that a query was sent with is renewed by another process before the service looks at it.
    void asksAgainWithTheNewAccessToken() {
        const auto other = restoredSession({});
        slowDown(1500);
        QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
        QTRY_VERIFY(m_fixture->hasLogged("Getting OAuth2 token"));
        QVERIFY(other->RefreshToken(key, true));
        QTRY_VERIFY(m_session->oauth2().token(key, &rt).isPresent());
        QCOMPARE(forms().size(), 2);
    }

    void aTokenComesWhenItWasEnabledWhileTheProductWasBeingSignedIn() {
        const auto other = std::make_shared<LoginSession>(m_fixture->services(),
                                                          ClientIdentity{TestKit::secondKey, 1, "Second product", "/opt/second"});
        other->SetConfiguration(TestKit::secondKey,
                                TestKit::SessionFixture::oauth2Configuration(TestKit::secondKey, TestKit::secondSecret));
        delay("access-token", 1000);
        other->RestoreLogin(TestKit::secondKey, false);
        QVERIFY(other->oauth2().EnableOAuth2(TestKit::secondKey, rt));
        QVERIFY(!other->isLoggedIn(TestKit::secondKey));
        QTRY_VERIFY(other->oauth2().token(TestKit::secondKey, &rt).isPresent());
    }

    void disablingDiscardsHereOnly() {
        QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
        const QString token = ask(rt);
        QVERIFY(m_session->oauth2().DisableOAuth2(key));
        QVERIFY(m_fixture->hasLogged("Raising web services event OAuth2Disabled"));
        QVERIFY(!m_session->oauth2().token(key, &rt).isPresent());
        QTRY_VERIFY(!m_session->oauth2().isRefreshTimerActive(key, &rt));
        QVERIFY(ask(rt).isEmpty());
        QCOMPARE(stored(rt), token);
        QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
        QVERIFY(m_fixture->hasLogged("Raising web services event OAuth2Enabled"));
        QCOMPARE(ask(rt), token);
        QCOMPARE(forms().size(), 1);
    }

    void mayBeStoppedAtAnyMoment() {
        qint64 longest = 0;
        for (int round = 0; round < 20; ++round) {
            auto session = restoredSession({rt, jwt});
            m_fixture->clockOffset += hour + 1;
            std::thread caller([&] {
                (void)askOf(*session, rt);
                (void)session->oauth2().RefreshOAuth2Token(key, &jwt, true);
            });
            QThread::msleep(static_cast<unsigned long>(round * 3));
            const TestKit::Stopwatch timer;
            session->stop();
            longest = qMax(longest, timer.elapsed());
            caller.join();
        }
        QVERIFY2(!TestKit::isSoak() || longest < 2000, qPrintable(QString::number(longest)));
    }
};

QTEST_GUILESS_MAIN(OAuth2QueryTest)
#include "OAuth2QueryTest.moc"
