// A session and the events that it raises and hears: what is sent, what an observer may do to it, and what a change of another
// process does to it.

#include "Runtime/HostProduct.h"
#include "TestKit/ServiceTest.h"

#include <QtTest>
#include <VqWebServices/IWebServicesObserver2.h>
#include <functional>
#include <thread>

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;
using Event = WebServicesPrivateCore::WebServicesEvent;

namespace {

const auto key = QStringLiteral("demo-product-0001");

class Hook : public IWebServicesObserver2 {
public:
    void AboutToLogout(bool&) override { hear("AboutToLogout"); }
    void LoggingOut() override { hear("LoggingOut"); }
    void LoggedOut() override { hear("LoggedOut"); }
    void ServerChanged(const wchar_t*) override { hear("ServerChanged"); }

    void hear(const char* event) {
        heard += QString::fromLatin1(event);
        if (reaction)
            reaction();
    }
    QStringList heard;
    std::function<void()> reaction;
};

} // namespace

class SessionEventsTest : public TestKit::ServiceTest {
    Q_OBJECT

private slots:
    void initTestCase() {
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_runtime.path()));
        // The event loop that leaves no posted event behind by chance.
        qputenv("QT_NO_GLIB", "1");
        startService();
    }

    void init() { beginAnew(); }

    void cleanup() { m_session.reset(); }

    void whatIsRaisedBeforeTheEndIsSent_data() {
        QTest::addColumn<int>("event");
        QTest::addColumn<bool>("isForOthers");
        QTest::newRow("a sign-out") << static_cast<int>(Event::LoggedOut) << true;
        QTest::newRow("what only sibling modules raise") << static_cast<int>(Event::AccountCreated) << true;
        QTest::newRow("not for others") << static_cast<int>(Event::LoggedOut) << false;
    }

    void whatIsRaisedBeforeTheEndIsSent() {
        QFETCH(int, event);
        QFETCH(bool, isForOthers);
        m_fixture->notifiesProcesses = true;
        m_session = m_fixture->makeSession();
        m_session->RaiseEvent(static_cast<Event>(event), key, isForOthers);
        m_session.reset();
        QFile file(m_fixture->folder.filePath(QStringLiteral("Event.xml")));
        QCOMPARE(file.open(QIODevice::ReadOnly), isForOthers);
        QCOMPARE(file.readAll().contains(QStringLiteral("Id=\"%1\"").arg(event).toLatin1()), isForOthers);
    }

    // From the event loop, where nobody else holds the session.
    void anObserverMayEndTheSession_data() {
        QTest::addColumn<bool>("isForcedLogout");
        QTest::newRow("in an event of another thread") << false;
        QTest::newRow("in a forced sign-out") << true;
    }

    void anObserverMayEndTheSession() {
        QFETCH(bool, isForcedLogout);
        m_session = m_fixture->makeSession();
        signIn(*m_session);
        const std::weak_ptr<LoginSession> ended = m_session;
        Hook first;
        Hook second;
        bool wasAlive = false;
        first.reaction = [&] {
            m_session->stop();
            m_session.reset();
            wasAlive = !ended.expired();
        };
        m_session->observers().add(&first);
        m_session->observers().add(&second);
        if (isForcedLogout) {
            // The token thread finds out that the sign-in has ended, and asks this one to sign out.
            m_service.control(QStringLiteral("expire"), QJsonObject{{"what", "sessions"}});
            QVERIFY(m_session->RefreshToken(key, false));
        } else {
            std::thread([this] { m_session->RaiseEvent(Event::ServerChanged, key, false); }).join();
        }
        QTRY_VERIFY(!m_session);
        QVERIFY2(wasAlive, "the call is still inside the session");
        QTRY_VERIFY(ended.expired());
        QCOMPARE(first.heard.size(), 1);
        QVERIFY(second.heard.isEmpty());
    }

    void aSignOutOnAnotherThread() {
        m_session = m_fixture->makeSession();
        signIn(*m_session);
        Hook hook;
        m_session->observers().add(&hook);
        bool isDone = false;
        std::thread worker([this, &isDone] {
            QNetworkReply::NetworkError error = QNetworkReply::NoError;
            isDone = m_session->Logout(key, error, true);
        });
        const QStringList expected{QStringLiteral("AboutToLogout"), QStringLiteral("LoggingOut"), QStringLiteral("LoggedOut")};
        const bool isHeard = QTest::qWaitFor([&] { return hook.heard == expected; }, 10000);
        worker.join();
        QVERIFY(isDone);
        QVERIFY2(isHeard, qPrintable(hook.heard.join(QLatin1Char(' '))));
        for (const QString& event : expected)
            QVERIFY(m_fixture->hasLogged(
                QStringLiteral("Emitting signal to send web services event %1 to observers in this process from main thread")
                    .arg(event)));
    }

    // While this process waits for the service it cannot take the news over; later it does, though nobody calls it.
    void aSignOutElsewhereDuringAStep() {
        m_fixture->notifiesProcesses = true;
        m_session = m_fixture->makeSession();
        signIn(*m_session);
        const TestKit::SessionUnderTest other = m_fixture->makeSession();
        other->RestoreLogin(key, false);
        QTest::qWait(300);
        Hook hook;
        m_session->observers().add(&hook);
        QVERIFY(m_service.addFault(QStringLiteral("request-token"), QStringLiteral("delay"), {{"delay_ms", 1500}}));
        std::thread worker([this] { (void)m_session->InitiateLogin(key, QString()); });
        QTest::qWait(200);
        QNetworkReply::NetworkError error = QNetworkReply::NoError;
        const bool isDone = other->Logout(key, error, true);
        const bool isEarly = hook.heard.contains(QStringLiteral("LoggedOut"));
        worker.join();
        QVERIFY(isDone && !isEarly);
        QTRY_COMPARE(hook.heard, QStringList(QStringLiteral("LoggedOut")));
    }

    // Nobody is signed in any more, so that nobody needs to be signed out.
    void changesTheServerAfterASignOutElsewhere() {
        m_session = m_fixture->makeSession();
        signIn(*m_session);
        const TestKit::SessionUnderTest other = m_fixture->makeSession();
        other->RestoreLogin(key, false);
        QNetworkReply::NetworkError error = QNetworkReply::NoError;
        QVERIFY(other->Logout(key, error, true));
        QVERIFY(m_session->ChangeServer(key, Staging, false));
    }

    // It is no client itself, and tells those of several processes apart.
    void theSingleSignOnServer() {
        for (const char* const host : {"/opt/VqSSOServer", "/opt/vqssoserver.exe"})
            QVERIFY(isSSOServerHost(QLatin1String(host)));
        for (const char* const host : {"/opt/VqSSOServerTool", "/opt/VqSSOServer/tool", ""})
            QVERIFY(!isSSOServerHost(QLatin1String(host)));
        SessionDependencies services = m_fixture->services();
        services.isSSOServer = true;
        const ClientIdentity client{key, 7, QStringLiteral("Test product"), QStringLiteral("/opt/test.bin")};
        LoginSession server(services, client);
        QVERIFY(!server.isClient(key));
        server.AddClient(client);
        server.AddClient({QStringLiteral("8"), 8, QString(), QStringLiteral("/opt/test.bin")});
        QCOMPARE(server.clientName(key), QStringLiteral("Test product.test.7"));
        QCOMPARE(server.clientName(QStringLiteral("8")), QStringLiteral("test.8"));
    }

private:
    QTemporaryDir m_runtime;
    std::shared_ptr<LoginSession> m_session;
};

QTEST_GUILESS_MAIN(SessionEventsTest)
#include "SessionEventsTest.moc"
