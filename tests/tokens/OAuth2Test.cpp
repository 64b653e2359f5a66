// OAuth2 tokens against the account service: obtained, renewed, shared with other processes, and given up.

#include "TestKit/AccountServiceProcess.h"
#include "TestKit/SessionFixture.h"
#include "Tokens/RetrySchedules.h"
#include "Values/OAuth2TokenSpecImp.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QtTest>
#include <thread>

using namespace Velquor;
using namespace Velquor::WebServices;

namespace {

const auto key = QStringLiteral("demo-product-0001");
const auto endPoint = QStringLiteral("oauth2-token");
const OAuth2TokenSpec rt(RT, L"");
const OAuth2TokenSpec jwt(JWT, L"openid data");
constexpr int hour = 3600;

WebServicesConfiguration oauth2Configuration() {
    WebServicesConfiguration made = TestKit::SessionFixture::configuration(key, QStringLiteral("demo-secret-0001"));
    made.SetOAuth2ConsumerKey(L"demo-product-0001");
    made.SetOAuth2ConsumerSecret(L"demo-secret-0001");
    made.SetOAuth2AccessTokenScope(L"legacy");
    return made;
}

class Observer : public IWebServicesObserver {
public:
    void LoggedOut() override { ++loggedOut; }
    int loggedOut = 0;
};

} // namespace

Q_DECLARE_METATYPE(Velquor::WebServices::OAuth2TokenSpec)

class OAuth2Test : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QVERIFY(m_service.start());
        SupportFiles::setSearchPaths(m_service.folder());
    }

    void init() {
        QVERIFY(m_service.reset());
        RetrySchedules::instance().clear();
        m_fixture = std::make_unique<TestKit::SessionFixture>();
        m_session = makeSession({});
        m_session->RestoreLogin(key, false);
        QVERIFY(m_service.approve(m_session->InitiateLogin(key, QString()).url));
        QCOMPARE(m_session->CompleteLogin(key, nullptr), LoginCode::success);
    }

    void cleanup() {
        const bool failed = QTest::currentTestFailed();
        if (failed && qEnvironmentVariableIsSet("VQ_TEST_LOG"))
            qInfo().noquote() << m_fixture->logger->texts().join('\n');
        m_session.reset();
        m_fixture.reset();
    }

    void queriesAndRefreshes_data() {
        QTest::addColumn<OAuth2TokenSpec>("spec");
        QTest::addColumn<QString>("query");
        QTest::addColumn<QString>("refresh");
        const auto names = QStringLiteral("client_id&client_secret&oauth1_token&oauth1_secret&token_type=");
        QTest::newRow("RT without scope") << rt << names << names;
        QTest::newRow("RT with scope") << OAuth2TokenSpec(RT, L" b & c=d  a%20") << names + "&scope=& a%20 b c=d" << names + "&scope=& a%20 b c=d";
        QTest::newRow("JWT") << jwt << names + "jwt&scope=data openid" << names + "Jwt&scope=data openid";
        QTest::newRow("the older interface") << OAuth2Settings::legacySpec() << names + "&scope=legacy" << names + "&scope=legacy";
    }

    void queriesAndRefreshes() {
        QFETCH(OAuth2TokenSpec, spec);
        QFETCH(QString, query);
        QFETCH(QString, refresh);
        QVERIFY(m_session->oauth2().EnableOAuth2(key, spec));
        const QString first = ask(spec);
        QVERIFY(!first.isEmpty());
        QCOMPARE(forms(), QStringList{query});
        QTRY_VERIFY(m_fixture->hasLogged(QStringLiteral("Raising web services event OAuth2TokenAvailable")));
        QVERIFY(m_session->oauth2().RefreshOAuth2Token(key, &spec, true));
        QCOMPARE(forms(), QStringList({query, refresh}));
        QVERIFY(ask(spec) != first);
        QCOMPARE(ask(spec), stored(spec));
        QTRY_VERIFY(m_session->oauth2().isRefreshTimerActive(key, &spec));
        QVERIFY(m_fixture->hasLogged(QStringLiteral("OAuth2 token refreshed successfully. OAuth2 token expires in 59 min 59 s.")));
        expectNoSecrets({first, ask(spec)});
    }

    void refuses_data() {
        QTest::addColumn<bool>("enabled");
        QTest::addColumn<bool>("signedIn");
        QTest::addColumn<QString>("get");
        QTest::addColumn<QString>("refresh");
        QTest::newRow("not enabled") << false << true << "GetOAuth2AccessToken failed: OAuth2 is not enabled."
                                     << "Failed to refresh OAuth2 token. OAuth2 is not enabled.";
        QTest::newRow("not signed in") << true << false << "GetOAuth2AccessToken failed: Not logged in. Returning empty token."
                                       << "Failed to refresh OAuth2 token. User not logged in.";
        QTest::newRow("another spec") << true << true
                                      << "GetOAuth2AccessToken failed: OAuth2 session not found for OAuth2 type JWT and scope data openid."
                                      << "Failed to refresh OAuth2 token. OAuth2 session not found for OAuth2 type JWT and scope data openid.";
    }

    void refuses() {
        QFETCH(bool, enabled);
        QFETCH(bool, signedIn);
        QFETCH(QString, get);
        QFETCH(QString, refresh);
        if (enabled)
            QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
        if (!signedIn)
            logout(*m_session);
        QVERIFY(ask(jwt).isEmpty());
        QVERIFY(m_fixture->hasLogged(get));
        QVERIFY(!m_session->oauth2().RefreshOAuth2Token(key, &jwt, true));
        QVERIFY(m_fixture->hasLogged(refresh));
        QVERIFY(!m_session->oauth2().EnableOAuth2(QStringLiteral("unknown"), rt));
        QVERIFY(!m_session->oauth2().EnableOAuth2(key, OAuth2TokenSpec(InvalidTokenType, L"")));
    }

    void doesNotWaitWhenItMustNot() {
        slowDown(1500);
        QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
        QElapsedTimer timer;
        timer.start();
        QVERIFY(!m_session->oauth2().GetOAuth2AccessToken(key, &rt, false).IsValid());
        QVERIFY2(timer.elapsed() < 500, qPrintable(QString::number(timer.elapsed())));
        QVERIFY(m_fixture->hasLogged(QStringLiteral("Returning empty token without waiting since waitToFinish is false.")));
        QVERIFY(!ask(rt).isEmpty());
        QCOMPARE(forms().size(), 1);
    }

    void withoutKeysNothingIsAsked() {
        m_session = makeSession({rt}, TestKit::SessionFixture::configuration(key, QStringLiteral("demo-secret-0001")));
        QVERIFY(m_session->RestoreLogin(key, false));
        QVERIFY(m_fixture->hasLogged(
            QStringLiteral("OAuth2 enabled, but OAuth2 consumer keys are not set for Production server.")));
        QVERIFY(ask(rt).isEmpty());
        QVERIFY(m_fixture->hasLogged(QStringLiteral("Cannot query OAuth2 token. OAuth2 keys not set.")));
        QCOMPARE(forms(), QStringList());
    }

    void oneRequestForAll_data() {
        QTest::addColumn<int>("age");
        QTest::newRow("no token yet") << 0;
        QTest::newRow("an expired one") << hour + 1;
    }

    // The OAuth 1.0 token has expired too by then, and must be renewed first, once as well.
    void oneRequestForAll() {
        QFETCH(int, age);
        m_session->oauth2().EnableOAuth2(key, rt);
        if (age > 0) {
            QVERIFY(!ask(rt).isEmpty());
            m_fixture->clockOffset += age;
        }
        const int tokensBefore = m_service.requests(QStringLiteral("access-token"));
        std::mutex mutex;
        QStringList tokens;
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 8; ++thread) {
            threads.emplace_back([&] {
                const QString token = ask(rt);
                const std::lock_guard<std::mutex> lock(mutex);
                tokens += token;
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        QCOMPARE(tokens.removeDuplicates(), 7);
        QVERIFY(!tokens.first().isEmpty());
        QCOMPARE(forms().size(), age > 0 ? 2 : 1);
        QCOMPARE(m_service.requests(QStringLiteral("access-token")) - tokensBefore, age > 0 ? 1 : 0);
    }

    void failedQueriesAreTriedAgain_data() {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QJsonObject>("details");
        QTest::addColumn<QString>("logged");
        const auto unparsable = QStringLiteral("Failed to parse server response. Will retry after 30 s. Response body:");
        const auto body = [](const char* json) { return QJsonObject{{"status", 200}, {"body", json}, {"content_type", "application/json"}}; };
        QTest::newRow("dropped") << "drop" << QJsonObject() << "Failed to get OAuth2 token. Will retry after 30 s. ";
        QTest::newRow("500") << "status" << QJsonObject{{"status", 500}} << "Failed to get OAuth2 token. Will retry after 30 s. ";
        QTest::newRow("400") << "status" << QJsonObject{{"status", 400}} << "Failed to get OAuth2 token. Will retry after 30 s. ";
        QTest::newRow("captive portal") << "html" << QJsonObject() << unparsable;
        QTest::newRow("empty") << "status" << QJsonObject{{"status", 200}} << "Response body from server is empty.";
        QTest::newRow("negative lifetime") << "status" << body(R"({"access_token": "canary-token", "expires_in": -1})") << unparsable;
        QTest::newRow("no lifetime") << "status" << body(R"({"access_token": "canary-token"})") << unparsable;
        QTest::newRow("a token that is none") << "status" << body(R"({"access_token": "canary token", "expires_in": 9})") << unparsable;
    }

    void failedQueriesAreTriedAgain() {
        QFETCH(QString, kind);
        QFETCH(QJsonObject, details);
        QFETCH(QString, logged);
        QVERIFY(m_service.addFault(endPoint, kind, details, -1));
        QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
        QVERIFY(ask(rt).isEmpty());
        QVERIFY2(m_fixture->hasLogged(logged), qPrintable(m_fixture->logger->texts().join('\n')));
        QTRY_VERIFY(m_fixture->hasLogged(QStringLiteral("OAuth2 token query timer started with interval 30 s")));
        QVERIFY(m_session->isLoggedIn(key));
        expectNoSecrets({QStringLiteral("canary-token"), QStringLiteral("canary token")});
        QVERIFY(m_service.control(QStringLiteral("reset"), QJsonObject{{"keep_sessions", true}}).contains("ok"));
        QVERIFY(!ask(rt).isEmpty());
    }

    void refreshesAheadOfTime() {
        m_service.control(QStringLiteral("lifetimes"), QJsonObject{{"oauth2_token", 240}});
        QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
        QTRY_COMPARE(forms().size(), 1);
        m_service.control(QStringLiteral("lifetimes"), QJsonObject{{"oauth2_token", hour}});
        QTRY_COMPARE_WITH_TIMEOUT(forms().size(), 2, 5000);
        QVERIFY(m_fixture->hasLogged(QStringLiteral("OAuth2 token refresh timer started with interval 1 s")));
        QVERIFY(m_fixture->hasLogged(QStringLiteral("Time to refresh now")));
        QTRY_VERIFY(m_fixture->hasLogged(QStringLiteral("OAuth2 token refresh timer started with interval 10 min")));
    }

    void anotherProcessAdopts() {
        QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
        const QString first = ask(rt);
        const auto other = makeSession({rt});
        QVERIFY(other->RestoreLogin(key, false));
        QCOMPARE(askOf(*other, rt), first);
        // Expired in both by now, it is renewed by the first one that needs it.
        m_fixture->clockOffset += hour + 1;
        const QString second = ask(rt);
        QVERIFY(!second.isEmpty() && second != first);
        QCOMPARE(askOf(*other, rt), second);
        QCOMPARE(forms().size(), 2);
    }

    // Two processes at once: the second one waits for the lock of the first, and finds its token in the file.
    void aRefreshOfAnotherProcessIsWaitedFor() {
        QVERIFY(m_session->oauth2().EnableOAuth2(key, jwt));
        const QString first = ask(jwt);
        const auto other = makeSession({jwt});
        QVERIFY(other->RestoreLogin(key, false));
        slowDown(700);
        QVERIFY(m_session->oauth2().RefreshOAuth2Token(key, &jwt, false));
        QTRY_VERIFY(m_fixture->hasLogged(QStringLiteral("Starting network operation in separate thread to refresh OAuth2 token: ")));
        QVERIFY(other->oauth2().RefreshOAuth2Token(key, &jwt, true));
        QVERIFY(askOf(*other, jwt) != first);
        QCOMPARE(askOf(*other, jwt), ask(jwt));
        QCOMPARE(forms().size(), 2);
        QVERIFY(m_fixture->hasLogged(QStringLiteral("OAuth2 token refreshed in another process. Loading the refreshed token in this process.")));
    }

    // Neither begins while the other has its lock, whichever comes first, and both come through.
    void refreshesKeepApart_data() {
        QTest::addColumn<bool>("oauth2First");
        QTest::newRow("OAuth2 waits") << false;
        QTest::newRow("OAuth 1.0 waits") << true;
    }

    void refreshesKeepApart() {
        QFETCH(bool, oauth2First);
        QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
        QVERIFY(!ask(rt).isEmpty());
        const auto other = makeSession({rt});
        QVERIFY(other->RestoreLogin(key, false));
        QVERIFY(m_service.addFault(QStringLiteral("*"), QStringLiteral("delay"), {{"delay_ms", 600}}, 1));
        const int before = m_service.requests(QStringLiteral("access-token"));
        QElapsedTimer timer;
        timer.start();
        if (oauth2First) {
            QVERIFY(other->oauth2().RefreshOAuth2Token(key, &rt, false));
            QTRY_VERIFY(m_fixture->hasLogged(QStringLiteral("Starting network operation in separate thread to refresh OAuth2 token")));
            QVERIFY(m_session->RefreshToken(key, true));
            QVERIFY(m_fixture->hasLogged(QStringLiteral("OAuth2 token refresh is in progress. Waiting for it to finish.")));
        } else {
            QVERIFY(other->RefreshToken(key, false));
            QTRY_VERIFY(m_fixture->hasLogged(QStringLiteral("Starting network operation in separate thread to refresh token")));
            QVERIFY(m_session->oauth2().RefreshOAuth2Token(key, &rt, true));
            QVERIFY(m_fixture->hasLogged(QStringLiteral("Holding off OAuth2 token refresh since token refresh is in progress.")));
        }
        QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
        QCOMPARE(m_service.requests(QStringLiteral("access-token")) - before, 1);
        QCOMPARE(forms().size(), 2);
    }

    void aFailedRefreshKeepsTheToken_data() {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QJsonObject>("details");
        QTest::addColumn<QString>("logged");
        QTest::addColumn<QString>("timer");
        QTest::newRow("dropped") << "drop" << QJsonObject() << "Failed to refresh OAuth2 token. Will retry token refresh after 1 min. "
                                 << "1 min";
        QTest::newRow("HTML") << "html" << QJsonObject() << "Failed to refresh OAuth2 token. Failed to parse server response."
                              << "1 min";
        QTest::newRow("401") << "status" << QJsonObject{{"status", 401}}
                             << "OAuth2 token refresh retry process active: Retry attempts so far: 1 in " << "7 s";
        QTest::newRow("503") << "status" << QJsonObject{{"status", 503}}
                             << "Starting OAuth2 token refresh retry process with following schedule:\nRetry for a period of 7 s at"
                             << "7 s";
    }

    void aFailedRefreshKeepsTheToken() {
        QFETCH(QString, kind);
        QFETCH(QJsonObject, details);
        QFETCH(QString, logged);
        QFETCH(QString, timer);
        RetrySchedules::instance().set({0, {{7000, 7000}}});
        QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
        const QString first = ask(rt);
        QVERIFY(m_service.addFault(endPoint, kind, details, -1));
        QVERIFY(!m_session->oauth2().RefreshOAuth2Token(key, &rt, true));
        QVERIFY2(m_fixture->hasLogged(logged), qPrintable(m_fixture->logger->texts().join('\n')));
        QTRY_VERIFY(m_fixture->hasLogged(QStringLiteral("OAuth2 token refresh timer started with interval ") + timer));
        // Other news, here of the file, must not bring the next try forward, although the token is due by now.
        m_fixture->clockOffset += hour - 100;
        m_fixture->logger->clear();
        m_fixture->writeFile(m_fixture->fileContents() + '\n');
        QCOMPARE(ask(rt), first);
        QVERIFY(m_fixture->hasLogged(QStringLiteral("Tokens found. Checking if OAuth2 token needs to be queried.")));
        QTest::qWait(200);
        QVERIFY(!m_fixture->hasLogged(QStringLiteral("OAuth2 token refresh timer started")));
        QVERIFY(m_session->isLoggedIn(key));
        QVERIFY(m_service.control(QStringLiteral("reset"), QJsonObject{{"keep_sessions", true}}).contains("ok"));
        QVERIFY(m_session->oauth2().RefreshOAuth2Token(key, &rt, true));
        QCOMPARE(m_fixture->hasLogged(QStringLiteral("Ending OAuth2 token refresh retry process")), timer == "7 s");
    }

    void aScheduleIsFollowedToItsEnd_data() {
        QTest::addColumn<bool>("isEmpty");
        QTest::newRow("two tries") << false;
        QTest::newRow("none") << true;
    }

    void aScheduleIsFollowedToItsEnd() {
        QFETCH(bool, isEmpty);
        RetrySchedules::instance().set(isEmpty ? RetrySchedule{} : RetrySchedule{150, {{100, 100}}});
        Observer observer;
        m_session->observers().add(&observer);
        QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
        QVERIFY(!ask(rt).isEmpty());
        QVERIFY(m_service.addFault(endPoint, QStringLiteral("status"), {{"status", 503}}, -1));
        QVERIFY(!m_session->oauth2().RefreshOAuth2Token(key, &rt, true));
        QTRY_COMPARE(observer.loggedOut, 1);
        QVERIFY(!m_session->isLoggedIn(QString()));
        QVERIFY(m_fixture->hasLogged(QStringLiteral("Permanently failed to refresh OAuth2 token after %1 attempts in ").arg(isEmpty ? 0 : 3)));
        m_session->observers().remove(&observer);
    }

    void aRefusalForGoodSignsOut() {
        Observer observer;
        m_session->observers().add(&observer);
        QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
        QVERIFY(!ask(rt).isEmpty());
        QVERIFY(m_service.addFault(endPoint, QStringLiteral("status"), {{"status", 400}}));
        QVERIFY(!m_session->oauth2().RefreshOAuth2Token(key, &rt, true));
        QVERIFY(m_fixture->hasLogged(QStringLiteral("Current OAuth2 token cannot be refreshed anymore.")));
        QTRY_COMPARE(observer.loggedOut, 1);
        QVERIFY(!m_session->isLoggedIn(QString()));
        m_session->observers().remove(&observer);
    }

    // The OAuth2 token that makes the refusal irrelevant arrives in the file while the request is under way.
    void looksAtTheFileBeforeItSignsOut() {
        QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
        QVERIFY(!ask(rt).isEmpty());
        QVERIFY(m_service.addFault(endPoint, QStringLiteral("status"), {{"status", 400}, {"delay_ms", 700}}));
        std::thread asking([this] { QVERIFY(m_session->oauth2().RefreshOAuth2Token(key, &rt, true)); });
        QTRY_VERIFY(m_fixture->hasLogged(QStringLiteral("Starting network operation in separate thread to refresh OAuth2 token")));
        editProduct([this](QDomElement& product) {
            QDomElement token = product.firstChildElement("OAuth2Tokens").firstChildElement("OAuth2Token");
            putSecret(token, "Token", "newer-token");
            token.setAttribute("ExpiryDate", now().addSecs(2 * hour).toString(Qt::ISODate));
        });
        asking.join();
        QVERIFY(m_session->isLoggedIn(key));
        QCOMPARE(ask(rt), QStringLiteral("newer-token"));
    }

    void aSignOutMeanwhileWins_data() {
        QTest::addColumn<bool>("isRefresh");
        QTest::addColumn<QString>("logged");
        QTest::newRow("query") << false << "OAuth2 token query finished. But ignoring the result since user has logged out.";
        QTest::newRow("refresh") << true << "Failed to refresh OAuth2 token. Not logged in.";
    }

    void aSignOutMeanwhileWins() {
        QFETCH(bool, isRefresh);
        QFETCH(QString, logged);
        const auto other = makeSession({});
        QVERIFY(other->RestoreLogin(key, false));
        if (isRefresh) {
            m_session->oauth2().EnableOAuth2(key, rt);
            QVERIFY(!ask(rt).isEmpty());
        }
        slowDown(700);
        if (isRefresh)
            QVERIFY(m_session->oauth2().RefreshOAuth2Token(key, &rt, false));
        else
            QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
        QTRY_VERIFY(m_fixture->hasLogged(isRefresh ? QStringLiteral("Starting network operation in separate thread to refresh OAuth2")
                                                   : QStringLiteral("Getting OAuth2 token")));
        logout(*other);
        QTRY_VERIFY(m_fixture->hasLogged(logged));
        QVERIFY(!m_fixture->fileContents().contains("LoginSession"));
        QVERIFY(!m_session->isLoggedIn(QString()));
        QVERIFY(ask(rt).isEmpty());
    }

    void tokensOfOthersArePreserved_data() {
        QTest::addColumn<bool>("isOAuth2First");
        QTest::newRow("a save of everything first") << false;
        QTest::newRow("one of the OAuth2 tokens first") << true;
    }

    // Tokens that this process has no use for survive its saves, in whatever form they stand in the file.
    void tokensOfOthersArePreserved() {
        QFETCH(bool, isOAuth2First);
        editProduct([this](QDomElement& product) {
            QDomElement tokens = product.ownerDocument().createElement("OAuth2Tokens");
            tokens.appendChild(tokenElement(tokens, "2", "Foreign scope", "foreign-token"));
            QDomElement unknown = tokenElement(tokens, "17", "x", "unknown-token");
            unknown.setAttribute("Later", "kept");
            tokens.appendChild(unknown);
            product.appendChild(tokens);
            putSecret(product, "OAuth2AccessToken", "older-token");
            product.setAttribute("OAuth2TokenScope", "older");
            product.setAttribute("OAuth2TokenExpiryDate", now().addSecs(hour).toString(Qt::ISODate));
        });
        const auto expectKept = [this] {
            const QDomElement product = productNode();
            QVERIFY(!product.hasAttribute("OAuth2TokenScope"));
            QVERIFY(product.firstChildElement("OAuth2AccessToken").isNull());
            QCOMPARE(textOf(product, "2", "Foreign scope"), QString("foreign-token"));
            QCOMPARE(textOf(product, "17", "x"), QString("unknown-token"));
            QVERIFY(m_fixture->fileContents().contains("kept"));
            QCOMPARE(textOf(product, "1", "older"), QString("older-token"));
        };
        if (!isOAuth2First) {
            QVERIFY(m_session->RefreshToken(key, true));
            expectKept();
        }
        QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
        const QString own = ask(rt);
        expectKept();
        QCOMPARE(textOf(productNode(), "1", ""), own);
        editProduct([this](QDomElement& product) {
            QDomElement tokens = product.firstChildElement("OAuth2Tokens");
            tokens.appendChild(tokenElement(tokens, "2", "saved since", "since-token"));
        });
        QVERIFY(m_session->RefreshToken(key, true));
        expectKept();
        QCOMPARE(textOf(productNode(), "2", "saved since"), QString("since-token"));
        QCOMPARE(textOf(productNode(), "1", ""), own);
        // Enabled now, they are used, both that of the present and that of the older form.
        const OAuth2TokenSpec foreign(JWT, L"FOREIGN scope");
        const OAuth2TokenSpec older(RT, L"older");
        QVERIFY(m_session->oauth2().EnableOAuth2(key, foreign));
        QVERIFY(m_session->oauth2().EnableOAuth2(key, older));
        QCOMPARE(ask(foreign), QString("foreign-token"));
        QCOMPARE(ask(older), QString("older-token"));
        QCOMPARE(forms().size(), 1);
    }

    void damagedTokensAreNotUsed() {
        editProduct([this](QDomElement& product) {
            QDomElement tokens = product.ownerDocument().createElement("OAuth2Tokens");
            QDomElement damaged = tokenElement(tokens, "1", "", "x");
            damaged.firstChildElement("Token").firstChild().toCDATASection().setData("bm90IGVuY3J5cHRlZA==");
            damaged.setAttribute("ExpiryDate", now().addSecs(100 * hour).toString(Qt::ISODate));
            tokens.appendChild(damaged);
            product.appendChild(tokens);
        });
        QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
        const QString token = ask(rt);
        QVERIFY(!token.isEmpty());
        QCOMPARE(stored(rt), token);
        QCOMPARE(forms().size(), 1);
    }

    // A save that merges what another process wrote must not make this one overlook it.
    void savesDoNotHideNews() {
        slowDown(700);
        QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
        QTRY_VERIFY(m_fixture->hasLogged(QStringLiteral("Getting OAuth2 token")));
        editProduct([this](QDomElement& product) {
            putSecret(product, "AccessToken", "newer-access-token");
            product.setAttribute("TokenExpiryDate", now().addSecs(2 * hour).toString(Qt::ISODate));
        });
        QTRY_VERIFY(m_fixture->hasLogged(QStringLiteral("Finished saving OAuth2 login state to login state file")));
        Util::SecretBytes token;
        Util::SecretBytes secret;
        QVERIFY(m_session->GetAccessToken(key, true, token, secret));
        QCOMPARE(token.toText(), QStringLiteral("newer-access-token"));
    }

    // The OAuth 1.0 token that a query was sent with is renewed by another process before the service looks at it.
    void asksAgainWithTheNewAccessToken() {
        const auto other = makeSession({});
        QVERIFY(other->RestoreLogin(key, false));
        slowDown(1500);
        QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
        QTRY_VERIFY(m_fixture->hasLogged(QStringLiteral("Getting OAuth2 token")));
        QVERIFY(other->RefreshToken(key, true));
        QTRY_VERIFY(m_session->oauth2().token(key, &rt).isPresent());
        QCOMPARE(forms().size(), 2);
    }

    void disablingDiscardsHereOnly() {
        QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
        const QString token = ask(rt);
        QVERIFY(m_session->oauth2().DisableOAuth2(key));
        QVERIFY(m_fixture->hasLogged(QStringLiteral("Raising web services event OAuth2Disabled")));
        QVERIFY(!m_session->oauth2().token(key, &rt).isPresent());
        QTRY_VERIFY(!m_session->oauth2().isRefreshTimerActive(key, &rt));
        QVERIFY(ask(rt).isEmpty());
        QCOMPARE(stored(rt), token);
        QVERIFY(m_session->oauth2().EnableOAuth2(key, rt));
        QVERIFY(m_fixture->hasLogged(QStringLiteral("Raising web services event OAuth2Enabled")));
        QCOMPARE(ask(rt), token);
        QCOMPARE(forms().size(), 1);
    }

    // The OAuth 1.0 token is acquired after OAuth2 was enabled: the query follows by itself.
    void followsTheAccessToken() {
        const auto secondKey = QStringLiteral("second-product-0002");
        auto second = std::make_unique<LoginSession>(
            m_fixture->services(), ClientIdentity{secondKey, 1, QStringLiteral("Second"), QStringLiteral("/opt/second")},
            QVector<OAuth2TokenSpec>{jwt});
        WebServicesConfiguration made = oauth2Configuration();
        made.SetConsumerKey(L"second-product-0002");
        made.SetConsumerSecret(L"demo-secret-0002");
        second->SetConfiguration(secondKey, made);
        QVERIFY(second->RestoreLogin(secondKey, false));
        QTRY_VERIFY(second->oauth2().token(secondKey, nullptr).isPresent());
        QVERIFY(m_fixture->hasLogged(
            QStringLiteral("Received web services event TokenAcquired. Starting asynchronous OAuth2 token query.")));
        QCOMPARE(forms().size(), 1);
    }

    void mayBeStoppedAtAnyMoment() {
        qint64 longest = 0;
        for (int round = 0; round < 20; ++round) {
            auto session = makeSession({rt, jwt});
            session->RestoreLogin(key, false);
            m_fixture->clockOffset += hour + 1;
            std::thread caller([&] {
                (void)askOf(*session, rt);
                (void)session->oauth2().RefreshOAuth2Token(key, &jwt, true);
            });
            QThread::msleep(static_cast<unsigned long>(round * 3));
            QElapsedTimer timer;
            timer.start();
            session->stop();
            longest = qMax(longest, timer.elapsed());
            caller.join();
        }
        QVERIFY2(longest < 2000, qPrintable(QString::number(longest)));
    }

private:
    std::unique_ptr<LoginSession> makeSession(const QVector<OAuth2TokenSpec>& specs,
                                              const WebServicesConfiguration& configuration = oauth2Configuration()) {
        auto session = std::make_unique<LoginSession>(
            m_fixture->services(), ClientIdentity{key, 1, QStringLiteral("Test product"), QStringLiteral("/opt/test")}, specs);
        session->SetConfiguration(key, configuration);
        return session;
    }

    static QString askOf(LoginSession& session, const OAuth2TokenSpec& spec) {
        return QString::fromWCharArray(session.oauth2().GetOAuth2AccessToken(key, &spec, true).GetToken());
    }
    QString ask(const OAuth2TokenSpec& spec) { return askOf(*m_session, spec); }

    static void logout(LoginSession& session) {
        QNetworkReply::NetworkError error = QNetworkReply::NoError;
        QVERIFY(session.Logout(key, error, true));
    }

    void slowDown(int milliseconds) {
        QVERIFY(m_service.addFault(endPoint, QStringLiteral("delay"), {{"delay_ms", milliseconds}}));
    }

    QDateTime now() const { return QDateTime::currentDateTimeUtc().addSecs(m_fixture->clockOffset); }

    /// What the service was sent, without secrets.
    QStringList forms() {
        QStringList found;
        const QJsonArray log = m_service.control(QStringLiteral("log")).value(QStringLiteral("requests")).toArray();
        for (const QJsonValue& entry : log) {
            if (entry.toObject().value(QStringLiteral("endpoint")).toString() == endPoint)
                found += entry.toObject().value(QStringLiteral("form")).toString();
        }
        return found;
    }

    void expectNoSecrets(QStringList secrets) {
        const QJsonArray handedOut = m_service.control(QStringLiteral("secrets")).value(QStringLiteral("secrets")).toArray();
        for (const QJsonValue& secret : handedOut)
            secrets += secret.toString();
        QVERIFY(secrets.size() > 3);
        const QString log = m_fixture->logger->texts().join('\n');
        const QString file = QString::fromUtf8(m_fixture->fileContents());
        for (const QString& secret : qAsConst(secrets)) {
            const QString encoded = QString::fromLatin1(secret.toUtf8().toPercentEncoding());
            QVERIFY2(!log.contains(secret) && !log.contains(encoded) && !file.contains(secret), qPrintable(secret));
        }
    }

    template <class Edit> void editProduct(const Edit& edit) {
        QDomDocument document;
        QVERIFY(document.setContent(m_fixture->fileContents()));
        QDomElement product = productOf(document);
        edit(product);
        m_fixture->writeFile(document.toByteArray());
    }

    static QDomElement productOf(const QDomDocument& document) {
        return document.documentElement()
            .firstChildElement(QStringLiteral("LoginSession"))
            .firstChildElement(QStringLiteral("Products"))
            .firstChildElement(QStringLiteral("Product"));
    }

    QDomElement productNode() {
        m_document.setContent(m_fixture->fileContents());
        return productOf(m_document);
    }

    void putSecret(QDomElement& parent, const char* name, const char* clear) const {
        parent.removeChild(parent.firstChildElement(name));
        QDomDocument document = parent.ownerDocument();
        QDomElement child = document.createElement(name);
        child.appendChild(document.createCDATASection(QString::fromLatin1(m_fixture->cryptor->encrypt(clear))));
        parent.appendChild(child);
    }

    QDomElement tokenElement(const QDomElement& tokens, const char* type, const char* scope, const char* clear) const {
        QDomElement element = tokens.ownerDocument().createElement("OAuth2Token");
        element.setAttribute("Type", type);
        element.setAttribute("Scope", scope);
        element.setAttribute("ExpiryDate", now().addSecs(hour).toString(Qt::ISODate));
        putSecret(element, "Token", clear);
        return element;
    }

    QString textOf(const QDomElement& product, const char* type, const QString& scope) const {
        QDomElement element = product.firstChildElement("OAuth2Tokens").firstChildElement("OAuth2Token");
        while (!element.isNull() && (element.attribute("Type") != type || element.attribute("Scope") != scope))
            element = element.nextSiblingElement("OAuth2Token");
        return m_fixture->cryptor->decrypt(element.firstChildElement("Token").text().toLatin1()).toText();
    }

    QString stored(const OAuth2TokenSpec& spec) {
        const OAuth2TokenSpecImp& data = OAuth2TokenSpecImp::of(spec);
        return textOf(productNode(), data.type == RT ? "1" : "2", data.legacy ? QStringLiteral("legacy") : data.scope);
    }

    TestKit::AccountServiceProcess m_service;
    std::unique_ptr<TestKit::SessionFixture> m_fixture;
    std::unique_ptr<LoginSession> m_session;
    QDomDocument m_document;
};

QTEST_GUILESS_MAIN(OAuth2Test)
#include "OAuth2Test.moc"
