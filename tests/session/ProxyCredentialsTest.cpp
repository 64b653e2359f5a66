// The proxy credentials in the login state file: what is written, what is believed, and what the process does with it.

#include "TestKit/SessionFixture.h"
#include "TestKit/Test.h"

#include <QDomDocument>
#include <QNetworkProxy>

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

namespace {

const auto host = QStringLiteral("proxy.example.com");
const auto user = QString::fromUtf8("J\xc3\xb6rg & \"Co\" <x>\\y");
const auto password = QString::fromUtf8("sesame <&> \xe2\x82\xac 4711");
constexpr int port = 3128;

} // namespace

class ProxyCredentialsTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_before = QNetworkProxy::applicationProxy();
        QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy));
        m_fixture = std::make_unique<TestKit::SessionFixture>();
        m_session = m_fixture->makeSession();
    }

    void cleanup() {
        QNetworkProxy::setApplicationProxy(m_before);
        QVERIFY(!m_fixture->logger->texts().join('\n').contains("4711"));
        QVERIFY(!m_fixture->fileContents().contains("4711"));
        m_session.reset();
    }

    void credentialsReachTheNextProcess() {
        QVERIFY(set());
        QCOMPARE(QNetworkProxy::applicationProxy(), QNetworkProxy(QNetworkProxy::HttpProxy, host, port, user, password));
        startAnotherProcess();
        QVERIFY(!m_session->proxyCredentials().HasProxyInfo());
        m_session->loadProxyInfo();
        QCOMPARE(QNetworkProxy::applicationProxy(), QNetworkProxy(QNetworkProxy::HttpProxy, host, port, user, password));
        ProxyLogin login;
        QVERIFY(m_session->proxyCredentials().GetProxyAuthentication(host, -1, login));
        QCOMPARE(login.user, user);
        QCOMPARE(login.password, password);
        QCOMPARE(logged(QStringLiteral("Loaded proxy authentication info from login state file %1").arg(m_fixture->file())), 1);
        QCOMPARE(logged(setting()), 2);
    }

    void credentialsAreFoundByHostAndPort() {
        const TestKit::Rows row(this, [&](const QString& asked, int askedPort, bool found) {
            QVERIFY(set());
            QCOMPARE(m_session->proxyCredentials().HasProxyAuthentication(asked, askedPort), found);
            ProxyLogin login;
            QCOMPARE(m_session->proxyCredentials().GetProxyAuthentication(asked, askedPort, login), found);
            QCOMPARE(!login.isEmpty(), found);
        });
        row("host and port", host, port, true);
        row("any port", host, -1, true);
        row("another case", host.toUpper(), port, true);
        row("another port", host, port + 1, false);
        row("the port modulo 65536", host, port + 65536, false);
        row("another host", "example.com", -1, false);
    }

    void badArgumentsChangeNothing() {
        const TestKit::Rows row(this, [&](const QString& badHost, int badPort, const QString& badUser, const QString& text) {
            m_fixture->logger->clear();
            QVERIFY(!m_session->SetProxyAuthentication(badHost, badPort, badUser, password));
            QCOMPARE(m_fixture->logger->texts(Log::Level::Information).join('|'), text);
            QCOMPARE(m_fixture->logger->texts().size(), 1);
            QCOMPARE(QNetworkProxy::applicationProxy().type(), QNetworkProxy::NoProxy);
            QVERIFY(m_fixture->fileContents().isEmpty());
        });
        const auto empty = QStringLiteral("SetProxyAuthentication failed. %1 name is empty.");
        const auto invalid = QStringLiteral("SetProxyAuthentication failed. Host name, port or user name is not valid.");
        row("no host", {}, port, user, empty.arg("Host"));
        row("no user", host, port, {}, empty.arg("User"));
        row("neither", {}, port, {}, empty.arg("Host"));
        row("port -1", host, -1, user, invalid);
        row("port 65536", host, 65536, user, invalid);
        row("a control character", host, port, "a\x01", invalid);
        row("half a character", host, port, QString(QChar(0xd800)), invalid);
        row("a line", "a\nb", port, user, invalid);
        row("a long host", QString(2000, 'h'), port, user, invalid);
    }

    void theRestOfTheFileIsLeftAlone() {
        const QByteArray rest =
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<WebServices LastSavedBy=\"other\" Unknown=\"1\">\n"
            "  <Settings CurrentServer=\"1\"/>\n  <LoginSession Server=\"1\" UserName=\"ada\">\n"
            "    <ClientId><![CDATA[c2VjcmV0]]></ClientId>\n  </LoginSession>\n  <Stranger a=\"&amp;\">text</Stranger>\n"
            "</WebServices>\n";
        m_fixture->writeFile(rest);
        QVERIFY(set());
        QVERIFY(m_fixture->fileContents().contains("<ProxySettings"));
        m_fixture->logger->clear();
        QVERIFY(m_session->ClearProxyInfo());
        QCOMPARE(document(m_fixture->fileContents()).toString(), document(rest).toString());
        QCOMPARE(logged("Clearing proxy for this process"), 1);
        QCOMPARE(logged(QStringLiteral("Cleared proxy authentication info in login state file %1").arg(m_fixture->file())), 1);
        QVERIFY(!m_session->proxyCredentials().HasProxyInfo());
        QCOMPARE(QNetworkProxy::applicationProxy().type(), QNetworkProxy::NoProxy);
        startAnotherProcess();
        m_session->loadProxyInfo();
        QVERIFY(!m_session->proxyCredentials().HasProxyInfo());
        QCOMPARE(logged(QStringLiteral("No proxy authentication info found in login state file %1").arg(m_fixture->file())), 1);
    }

    void onlyWellFormedElementsAreTaken() {
        const TestKit::Rows row(this, [&](const QByteArray& element, bool isTaken) {
            m_fixture->writeFile("<WebServices>" + element + "</WebServices>");
            m_session->loadProxyInfo();
            QCOMPARE(m_session->proxyCredentials().HasProxyInfo(), isTaken);
            const QNetworkProxy proxy = QNetworkProxy::applicationProxy();
            QCOMPARE(proxy.type(), isTaken ? QNetworkProxy::HttpProxy : QNetworkProxy::NoProxy);
            QCOMPARE(proxy.hostName(), isTaken ? QStringLiteral("h") : QString());
            QVERIFY(proxy.password().isEmpty());
            const QStringList warnings = m_fixture->logger->texts(Log::Level::Warning);
            QCOMPARE(warnings.filter("Ignoring proxy authentication info").size(), isTaken ? 0 : 1);
            QVERIFY(m_session->proxyCredentials().find({"h", 8080}, {}).password.isEmpty());
        });
        const QByteArray good = "Type=\"3\" Host=\"h\" Port=\"8080\" User=\"u\"";
        row("a password of another key",
            QByteArray("<ProxySettings " + good + "><Password><![CDATA[AAAA]]></Password></ProxySettings>"), true);
        row("no password", QByteArray("<ProxySettings " + good + "/>"), true);
        row("no user", "<ProxySettings Type=\"3\" Host=\"h\" Port=\"8080\"/>", true);
        row("no attributes", "<ProxySettings/>", false);
        row("no host", "<ProxySettings Type=\"3\" Port=\"8080\" User=\"u\"/>", false);
        for (const char* const bad : {"junk", "", "-1", "0", "65536", "4294968376", "8080x", "0x1f90", "99999999999999999999"})
            row(qPrintable(QStringLiteral("port '%1'").arg(bad)),
                QByteArray("<ProxySettings Type=\"3\" Host=\"h\" Port=\"" + QByteArray(bad) + "\" User=\"u\"/>"), false);
        for (const char* const bad : {"junk", "", "2", "-3", "99"})
            row(qPrintable(QStringLiteral("type '%1'").arg(bad)),
                QByteArray("<ProxySettings Type=\"" + QByteArray(bad) + "\" Host=\"h\" Port=\"8080\" User=\"u\"/>"), false);
        row("a host of two lines", "<ProxySettings Type=\"3\" Host=\"a&#10;b\" Port=\"8080\" User=\"u\"/>", false);
    }

    void credentialsAreUsedAlthoughTheFileCannotBeWritten() {
        QVERIFY(QDir().mkpath(m_fixture->file() + QStringLiteral("/in the way")));
        QVERIFY(set());
        QCOMPARE(QNetworkProxy::applicationProxy().hostName(), host);
        const QStringList errors = m_fixture->logger->texts(Log::Level::Error);
        QVERIFY(errors.contains(
            QStringLiteral("Failed to save proxy authentication info to login state file %1").arg(m_fixture->file())));
        QVERIFY(!m_session->ClearProxyInfo());
        QVERIFY(
            m_fixture->logger->texts(Log::Level::Error)
                .contains(
                    QStringLiteral("Failed to clear proxy authentication info in login state file %1").arg(m_fixture->file())));
        QVERIFY(!m_session->proxyCredentials().HasProxyInfo());
        QCOMPARE(QNetworkProxy::applicationProxy().type(), QNetworkProxy::NoProxy);
    }

    // A request that was refused by a proxy must not wait for a step that holds the session, since that may wait for the request.
    void credentialsAreKeptLaterWhileTheSessionIsBusy() {
        LoginStateFile file = m_fixture->stateFile();
        auto guard = std::make_unique<LoginStateFile::Guard>(file);
        QVERIFY(guard->isHeld());
        std::thread step([this] { m_session->SetProxyAuthentication("earlier", port, user, password); });
        QTRY_COMPARE(QNetworkProxy::applicationProxy().hostName(), QStringLiteral("earlier"));
        m_session->keepProxyLogin({host, port}, {user, password});
        const bool isKeptAtOnce = m_session->proxyCredentials().HasProxyAuthentication(host, port);
        guard.reset();
        step.join();
        QVERIFY(!isKeptAtOnce);
        QTRY_VERIFY(m_session->proxyCredentials().HasProxyAuthentication(host, port));
        QVERIFY(m_fixture->fileContents().contains(host.toUtf8()));
    }

private:
    bool set() { return m_session->SetProxyAuthentication(host, port, user, password); }

    void startAnotherProcess() {
        m_session = m_fixture->makeSession();
        QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy));
    }

    [[nodiscard]] static QDomDocument document(const QByteArray& text) {
        QDomDocument parsed;
        parsed.setContent(text);
        return parsed;
    }

    [[nodiscard]] static QString setting() {
        return QStringLiteral("Setting proxy authentication info for this process: Host name: %1, Port: %2, User: %3")
            .arg(host, QString::number(port), user);
    }

    [[nodiscard]] int logged(const QString& text) const { return m_fixture->logger->texts().count(text); }

    QNetworkProxy m_before;
    std::unique_ptr<TestKit::SessionFixture> m_fixture;
    TestKit::SessionUnderTest m_session;
};

QTEST_GUILESS_MAIN(ProxyCredentialsTest)
#include "ProxyCredentialsTest.moc"
