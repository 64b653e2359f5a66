// Requests through a real proxy that asks for credentials, to the account service behind it.

#include "Network/NetworkAccessManager.h"
#include "Network/NetworkOperation.h"
#include "Network/Proxy/ProxyPrompt.h"
#include "Network/RunGet.h"
#include "Session/SessionProxyStore.h"
#include "TestKit/AccountServiceProcess.h"
#include "TestKit/LoopbackHttpServer.h"
#include "TestKit/ProxyProcess.h"
#include "TestKit/ScriptedPrompt.h"
#include "TestKit/SessionFixture.h"
#include "TestKit/Test.h"
#include "VqUtil/Prompt/CredentialPrompt.h"

#include <stdexcept>

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;
using TestKit::ScriptedPrompt;

namespace {

const auto wrongPassword = QStringLiteral("wrong-sesame-0815");

ScriptedPrompt::Answer right() {
    return {ScriptedPrompt::Given, TestKit::ProxyProcess::user(), TestKit::ProxyProcess::password()};
}

ScriptedPrompt::Answer wrong(const char* user) {
    return {ScriptedPrompt::Given, QLatin1String(user), wrongPassword};
}

ScriptedPrompt::Answer code(int code) {
    return {code, {}, {}};
}

/// Asks for credentials and takes none. The real proxy answers wrong ones with another status.
class RefusingProxy {
public:
    RefusingProxy() {
        for (const char* const target : {"service.test:443", "http://service.test/"})
            m_server.setScript(QLatin1String(target), {refusal(true)});
    }

    [[nodiscard]] QNetworkProxy proxy(const QString& user = {}) const {
        const int port = m_server.url(QString()).port();
        return {QNetworkProxy::HttpProxy, "127.0.0.1", static_cast<quint16>(port), user,
                user.isEmpty() ? QString() : wrongPassword};
    }

    static QByteArray refusal(bool closes) {
        return TestKit::answer("407 Proxy Authentication Required", "no",
                               QByteArray("Proxy-Authenticate: Basic realm=\"test\"\r\n")
                                   + (closes ? "Connection: close\r\n" : ""));
    }

    [[nodiscard]] QByteArrayList bodies(const QString& url) const {
        QByteArrayList found;
        for (const TestKit::ReceivedRequest& request : m_server.requests(url))
            found += request.body;
        return found;
    }

    void script(const QString& url, const TestKit::Script& script) { m_server.setScript(url, script); }
    void relent(const QString& url) { script(url, {TestKit::answer("200 OK", "yes")}); }

    /// The users of all requests for the URL, empty ones for requests without credentials. To a tunnel the framework gives
    /// credentials only after a request without them; those requests are left out.
    [[nodiscard]] QStringList users(const QString& url) const {
        QStringList found;
        const bool isTunnel = url.startsWith(QLatin1String("https"));
        for (const TestKit::ReceivedRequest& request : m_server.requests(isTunnel ? QStringLiteral("service.test:443") : url)) {
            static const QRegularExpression header("Proxy-Authorization: Basic (\\S+)");
            const QString value = header.match(QString::fromLatin1(request.head)).captured(1);
            const QString user = QString::fromUtf8(QByteArray::fromBase64(value.toLatin1())).section(QLatin1Char(':'), 0, 0);
            if (!isTunnel || found.isEmpty() || !user.isEmpty())
                found += user;
        }
        return found;
    }

private:
    TestKit::LoopbackHttpServer m_server;
};

QSettings& settings() {
    static QSettings shared("Velquor", "Web Services");
    return shared;
}

} // namespace

class ProxyTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QVERIFY(m_service.start());
        QVERIFY2(m_proxy.start(), "tinyproxy did not start; tools/setup installs it");
        m_before = QNetworkProxy::applicationProxy();
    }

    void init() {
        m_fixture = std::make_unique<TestKit::SessionFixture>();
        m_session = m_fixture->makeSession();
        ProxyPrompt::instance().open(std::make_shared<SessionProxyStore>(m_session));
        QNetworkProxy::setApplicationProxy(m_proxy.proxy());
        answerWith({});
    }

    void cleanup() {
        ProxyPrompt::instance().close();
        ProxyPrompt::instance().setPrompt(nullptr);
        settings().remove(QStringLiteral("ProxyAuthenticationDialog"));
        settings().sync();
        QNetworkProxy::setApplicationProxy(m_before);
        const QString log = m_fixture->logger->texts().join('\n');
        QVERIFY(!log.contains(TestKit::ProxyProcess::password()));
        QVERIFY(!log.contains(wrongPassword));
        const QByteArray file = m_fixture->fileContents();
        QVERIFY(!file.contains(TestKit::ProxyProcess::password().toUtf8()));
        QVERIFY(!file.contains(wrongPassword.toUtf8()));
        m_session.reset();
    }

    void storedCredentialsAskNobody() {
        const TestKit::Rows row(this, [&](const QString& where) {
            const auto other = m_fixture->makeSession();
            LoginSession& keeper = where == QLatin1String("file") ? *other : *m_session;
            QVERIFY(keeper.SetProxyAuthentication(m_proxy.host(), m_proxy.port(), m_proxy.user(), m_proxy.password()));
            if (where != QLatin1String("proxy"))
                QNetworkProxy::setApplicationProxy(m_proxy.proxy());
            const int tunnels = m_proxy.tunnels();
            const ExchangeOutcome outcome = get();
            QVERIFY2(outcome.hasStatus200(), qPrintable(outcome.errorText()));
            QCOMPARE(m_proxy.tunnels(), tunnels + 1);
            QCOMPARE(m_prompt->asked, 0);
        });
        row("set as the application proxy", "proxy");
        row("known to the session only", "session");
        row("put into the file by another process", "file");
    }

    void asksOnceAndKeepsTheAnswer() {
        answerWith({right()});
        const ExchangeOutcome outcome = get();
        QVERIFY2(outcome.hasStatus200(), qPrintable(outcome.errorText()));
        QCOMPARE(m_prompt->asked, 1);
        QCOMPARE(m_prompt->texts.value(0), QStringLiteral("Authenticate Proxy Server"));
        QCOMPARE(m_prompt->texts.value(1),
                 QStringLiteral("Your proxy server 127.0.0.1:%1 requires authentication. Please enter your credentials.")
                     .arg(m_proxy.port()));
        QCOMPARE(m_prompt->texts.value(2), QStringLiteral("127.0.0.1"));
        QCOMPARE(logged("ProxyAuthenticationRequired called. Showing proxy authentication dialog."), 1);
        QCOMPARE(logged("Proxy authentication dialog closed: Authentication successful"), 1);
        QVERIFY(get().hasStatus200());
        QVERIFY(m_session->proxyCredentials().HasProxyAuthentication(m_proxy.host(), m_proxy.port()));
        // Another process of the user.
        QNetworkProxy::setApplicationProxy(m_before);
        m_session = m_fixture->makeSession();
        m_session->loadProxyInfo();
        QVERIFY(get().hasStatus200());
        QCOMPARE(m_prompt->asked, 1);
    }

    void endsAfterTwoPrompts() {
        // users: the users that tried the proxy, in this order. failures: how often "Proxy authentication failed" is logged.
        const TestKit::Rows row(this, [&](const QVector<ScriptedPrompt::Answer>& answers, const QStringList& users, int asked,
                                          const QString& text, int failures) {
            for (const QString& url : QStringList{"https://service.test/", "http://service.test/"}) {
                RefusingProxy proxy;
                QNetworkProxy::setApplicationProxy(proxy.proxy());
                answerWith(answers);
                m_fixture->logger->clear();
                const ExchangeOutcome outcome = runGet(QNetworkRequest(QUrl(url)), 20000, m_fixture->logger);
                QCOMPARE(proxy.users(url), users);
                QCOMPARE(int(m_prompt->asked), asked);
                QVERIFY2(logged(text) > 0, qPrintable(m_fixture->logger->texts().join('\n')));
                QCOMPARE(logged("Proxy authentication failed"), failures);
                QCOMPARE(outcome.reply.networkError, QNetworkReply::ProxyAuthenticationRequiredError);
                QVERIFY2(outcome.errorText().contains(
                             QStringLiteral(". Proxy info: Host: 127.0.0.1, Port: %1, User:").arg(proxy.proxy().port())),
                         qPrintable(outcome.errorText()));
            }
        });
        const auto closed = QStringLiteral("Proxy authentication dialog closed: Authentication failed. Error: %1.");
        const auto opened = QStringLiteral("Proxy authentication dialog closed: Authentication successful");
        const QString noFile = Util::CredentialPrompt::errorText(2);
        using Answers = QVector<ScriptedPrompt::Answer>;
        row("wrong twice", Answers{wrong("a"), wrong("b"), wrong("c")}, QStringList{"", "a", "b"}, 2, opened, 1);
        row("canceled", Answers{code(1223), wrong("b")}, QStringList{""}, 1, closed.arg("User canceled"), 0);
        row("wrong, then canceled", Answers{wrong("a"), code(1223)}, QStringList{"", "a"}, 2, closed.arg("User canceled"), 0);
        row("no user name", Answers{wrong("")}, QStringList{""}, 1, closed.arg("No user name was given"), 1);
        row("no prompt", Answers{code(2), wrong("b")}, QStringList{""}, 1, closed.arg(noFile), 1);
    }

    void theSecondAnswerMayBeTheRightOne() {
        const auto url = QStringLiteral("http://service.test/");
        RefusingProxy proxy;
        QNetworkProxy::setApplicationProxy(proxy.proxy());
        answerWith({wrong("a"), wrong("b")});
        m_prompt->reaction = [&] {
            if (m_prompt->asked == 2)
                proxy.relent(url);
        };
        QVERIFY(runGet(QNetworkRequest(QUrl(url)), 20000, m_fixture->logger).hasStatus200());
        QCOMPARE(proxy.users(url), QStringList({"", "a", "b"}));
        QCOMPARE(m_prompt->texts.value(3), QStringLiteral("a"));
        ProxyLogin kept;
        QVERIFY(m_session->proxyCredentials().GetProxyAuthentication(m_proxy.host(), -1, kept));
        QCOMPARE(kept.user, QStringLiteral("b"));
    }

    // A request that the proxy has refused has not reached the server, so its body may go again.
    void aBodyGoesAgainAfterTheProxyHasAsked() {
        const TestKit::Rows row(this, [&](const QString& where, bool closes) {
            const auto url = QStringLiteral("http://service.test/");
            RefusingProxy proxy;
            TestKit::Script script{TestKit::answer("200 OK", "yes")};
            script.close = closes;
            script.challenge = RefusingProxy::refusal(closes);
            proxy.script(url, script);
            answerWith({right()});
            QNetworkProxy::setApplicationProxy(proxy.proxy());
            if (where != QLatin1String("prompt"))
                QVERIFY(
                    m_session->SetProxyAuthentication(m_proxy.host(), proxy.proxy().port(), m_proxy.user(), m_proxy.password()));
            if (where == QLatin1String("session"))
                QNetworkProxy::setApplicationProxy(proxy.proxy());
            NetworkOperation operation(nullptr, m_fixture->logger);
            int sent = 0;
            for (const char* const verb : {"POST", "PUT", "DELETE", "POST"}) {
                const QByteArray body = ++sent == 3 ? QByteArray() : QByteArray("a=b");
                QVERIFY2(send(operation, QUrl(url), verb, body), qPrintable(operation.errorMessage()));
                QCOMPARE(proxy.bodies(url).last(), body);
            }
            QCOMPARE(proxy.users(url).count(m_proxy.user()), 4);
        });
        for (const bool closes : {false, true}) {
            row(closes ? "the user answers, closed" : "the user answers", "prompt", closes);
            row(closes ? "set as the application proxy, closed" : "set as the application proxy", "proxy", closes);
            row(closes ? "known to the session only, closed" : "known to the session only", "session", closes);
        }
    }

    // It may have reached the server when nobody answers.
    void aBodyGoesOnceToAProxyThatCloses() {
        const auto url = QStringLiteral("http://service.test/");
        RefusingProxy proxy;
        QNetworkProxy::setApplicationProxy(proxy.proxy());
        answerWith({wrong("a")});
        m_prompt->reaction = [&] { proxy.script(url, {}); };
        NetworkOperation operation(nullptr, m_fixture->logger);
        QVERIFY(!send(operation, QUrl(url), "POST"));
        QCOMPARE(proxy.users(url), QStringList({"", "a"}));
    }

    // The framework crashes when it gets credentials for a tunnel whose connection has been closed meanwhile.
    void aProxyMayCloseWhileTheUserTypes() {
        const TestKit::Rows row(this, [&](int openFor) {
            RefusingProxy proxy;
            TestKit::Script script{TestKit::answer("502 Bad Gateway", "no")};
            script.openForInMsec = openFor;
            script.challenge = RefusingProxy::refusal(false);
            proxy.script(QStringLiteral("service.test:443"), script);
            QNetworkProxy::setApplicationProxy(proxy.proxy());
            answerWith({right()});
            m_prompt->reaction = [] { QThread::msleep(200); };
            const ExchangeOutcome outcome = runGet(QNetworkRequest(QUrl("https://service.test/")), 1000, m_fixture->logger);
            QVERIFY2(outcome.result != OperationResult::Success, "the proxy opens no tunnel");
            if (openFor == 0)
                return; // Whether the framework sees the demand before the close depends on the system.
            QCOMPARE(m_prompt->asked, 1);
            QVERIFY(proxy.users("https://service.test/").contains(m_proxy.user()));
        });
        row("while the user types", 100);
        row("at once", 0);
    }

    void aProxyThatDoesNotGoOnIsNamed() {
        RefusingProxy proxy;
        proxy.script(QStringLiteral("service.test:443"), {{}, 0, 0, 0, false});
        QNetworkProxy::setApplicationProxy(proxy.proxy());
        const ExchangeOutcome outcome = runGet(QNetworkRequest(QUrl("https://service.test/")), 300, m_fixture->logger);
        QCOMPARE(outcome.message.section(QStringLiteral(", which"), 0, 0),
                 QStringLiteral("Operation was canceled. Timed out. Nothing came through the proxy 127.0.0.1:%1")
                     .arg(proxy.proxy().port()));
    }

    // Credentials that another process has stored are tried before the user is asked.
    void laterCredentialsInTheFileComeFirst() {
        const auto url = QStringLiteral("https://service.test/");
        RefusingProxy proxy;
        QVERIFY(m_fixture->makeSession()->SetProxyAuthentication(m_proxy.host(), proxy.proxy().port(), "newer", wrongPassword));
        QNetworkProxy::setApplicationProxy(proxy.proxy("older"));
        QVERIFY(!runGet(QNetworkRequest(QUrl(url)), 20000, m_fixture->logger).hasStatus200());
        QCOMPARE(proxy.users(url), QStringList({"", "older", "newer"}));
        QCOMPARE(m_prompt->asked, 1);
    }

    void aPromptThatThrowsHasFailed() {
        m_prompt->reaction = [] { throw std::runtime_error("no window"); };
        QCOMPARE(get().reply.networkError, QNetworkReply::ProxyAuthenticationRequiredError);
        QCOMPARE(logged("Proxy authentication failed"), 1);
    }

    void aProductMaySwitchThePromptOff() {
        settings().setValue("ProxyAuthenticationDialog", "False");
        settings().sync();
        answerWith({right()});
        QCOMPARE(get().reply.networkError, QNetworkReply::ProxyAuthenticationRequiredError);
        QCOMPARE(m_prompt->asked, 0);
        QCOMPARE(logged(QStringLiteral("ProxyAuthenticationRequired called, but proxy authentication dialog is disabled. "
                                       "Returning without prompting for proxy credentials.")),
                 1);
    }

    void requestsThatMeetShareOneAnswer() {
        const TestKit::Rows row(this, [&](bool isGiven) {
            constexpr int count = 5;
            const int before = m_proxy.requests();
            answerWith(isGiven ? QVector<ScriptedPrompt::Answer>{right()} : QVector<ScriptedPrompt::Answer>{});
            // The user takes the time until all of them have been refused.
            m_prompt->reaction = [this, before] {
                for (int round = 0; round < 100 && m_proxy.requests() < before + count; ++round)
                    QThread::msleep(20);
                QThread::msleep(400);
            };
            std::atomic<int> succeeded{0};
            TestKit::Threads threads(count, [&](int) { succeeded += get().hasStatus200() ? 1 : 0; });
            threads.join();
            QCOMPARE(m_prompt->asked, 1);
            QCOMPARE(succeeded, isGiven ? count : 0);
        });
        row("given", true);
        row("canceled", false);
    }

    void theUsersTimeIsNotTheNetworks() {
        answerWith({right()});
        m_prompt->reaction = [] { QTest::qWait(1500); };
        const ExchangeOutcome outcome = get(1400);
        QVERIFY2(outcome.hasStatus200(), qPrintable(outcome.message));
    }

    void closingEndsAnOpenPrompt() {
        m_prompt->reaction = [this] { QVERIFY(m_prompt->canceled.tryAcquire(1, 60000)); };
        std::thread request([this] { QVERIFY(!get().hasStatus200()); });
        QTRY_COMPARE(int(m_prompt->asked), 1);
        const TestKit::Stopwatch timer;
        ProxyPrompt::instance().close();
        request.join();
        QVERIFY2(timer.elapsed() < TestKit::limitMs(1500), qPrintable(QString::number(timer.elapsed())));
        QVERIFY(!get().hasStatus200());
        QCOMPARE(m_prompt->asked, 1);
    }

    // A prompt may run an event loop, in which the operation that asked is destroyed.
    void anOperationMayGoWhileItsPromptIsOpen() {
        auto operation = std::make_unique<NetworkOperation>(nullptr, m_fixture->logger);
        answerWith({right()});
        m_prompt->reaction = [&operation] {
            operation.reset();
            QTest::qWait(100);
        };
        operation->StartOperation(request(), "GET", {}, 20000, nullptr);
        QTRY_COMPARE(int(m_prompt->asked), 1);
        QTest::qWait(200);
        QVERIFY(!operation);
        QVERIFY(get().hasStatus200());
    }

    void aRequestInsideAPromptDoesNotWaitForIt() {
        answerWith({right()});
        ExchangeOutcome inner;
        m_prompt->reaction = [&] { inner = get(); };
        QVERIFY(get().hasStatus200());
        QCOMPARE(inner.reply.networkError, QNetworkReply::ProxyAuthenticationRequiredError);
        QCOMPARE(m_prompt->asked, 1);
    }

    void longTextsAreCut() {
        NetworkAccessManager manager(m_fixture->logger);
        QAuthenticator authenticator;
        const QString host = QString(259, 'h') + QStringLiteral("X");
        const QNetworkProxy proxy(QNetworkProxy::HttpProxy, host, 8080);
        ProxyPrompt::instance().setTexts({QString(258, 'c') + QString::fromUtf8("\xf0\x9f\x98\x80"), "At %1%1 port %2"});
        manager.ProxyAuthenticationRequired(proxy, &authenticator);
        QCOMPARE(m_prompt->texts.value(0), QString(258, 'c'));
        QCOMPARE(m_prompt->texts.value(1), (QStringLiteral("At ") + host).left(259));
        QCOMPARE(m_prompt->texts.value(2), QString(259, 'h'));
        QVERIFY(authenticator.user().isEmpty());
        ProxyPrompt::instance().setTexts({{}, "%1 port %2"});
        manager.ProxyAuthenticationRequired({QNetworkProxy::HttpProxy, "a%2b", 81}, &authenticator);
        QCOMPARE(m_prompt->texts.value(1), QStringLiteral("a%2b port 81"));
        QCOMPARE(m_prompt->texts.value(0), QStringLiteral("Authenticate Proxy Server"));
    }

private:
    void answerWith(const QVector<ScriptedPrompt::Answer>& answers) {
        m_prompt = std::make_shared<ScriptedPrompt>(answers);
        ProxyPrompt::instance().setPrompt(m_prompt);
    }

    // The framework reaches every name of this machine without a proxy, but not this one.
    [[nodiscard]] QNetworkRequest request() const {
        QUrl url(m_service.url() + QStringLiteral("/time/unix"));
        url.setHost("0.0.0.0");
        QNetworkRequest made(url);
        made.setPeerVerifyName("127.0.0.1");
        made.setRawHeader("Host", QUrl(m_service.url()).authority().toUtf8());
        return made;
    }

    [[nodiscard]] ExchangeOutcome get(int timeoutInMsec = 20000) const {
        return runGet(request(), timeoutInMsec, m_fixture->logger);
    }

    static bool send(NetworkOperation& operation, const QUrl& url, const char* verb, const QByteArray& body = "a=b") {
        QSignalSpy finished(&operation, &NetworkOperation::RequestFinished);
        operation.StartOperation(QNetworkRequest(url), QLatin1String(verb), body, 20000, nullptr);
        return (!finished.isEmpty() || finished.wait(20000)) && operation.result() == OperationResult::Success;
    }

    [[nodiscard]] int logged(const QString& text) const { return m_fixture->logger->texts().count(text); }

    TestKit::AccountServiceProcess m_service;
    TestKit::ProxyProcess m_proxy;
    QNetworkProxy m_before;
    std::unique_ptr<TestKit::SessionFixture> m_fixture;
    std::shared_ptr<LoginSession> m_session;
    std::shared_ptr<ScriptedPrompt> m_prompt;
};

QTEST_GUILESS_MAIN(ProxyTest)
#include "ProxyTest.moc"
