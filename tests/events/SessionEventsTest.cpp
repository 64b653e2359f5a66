// A session and the events that it raises and hears: what is sent, what an observer may do to it, and what a change of another
// process does to it.

#include "Runtime/HostProduct.h"
#include "TestKit/RecordingObserver.h"
#include "TestKit/ServiceTest.h"

#include <VqWebServices/IWebServicesObserver2.h>
#include <VqWebServices/IWebServicesObserver3.h>

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;
using Event = WebServicesPrivateCore::WebServicesEvent;

namespace {

class Hook : public TestKit::RecordingObserver<IWebServicesObserver2> {
public:
    void LoggingOut() override { record("LoggingOut"); }
};

class TokenHook : public TestKit::RecordingObserver<IWebServicesObserver3> {
public:
    void OAuth2TokenRefreshed(const wchar_t* consumerKey) override { record("OAuth2TokenRefreshed", consumerKey); }
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

    void init() { startOver(); }

    void cleanup() { m_session.reset(); }

    void eventsRaisedBeforeTheEndAreSent() {
        const TestKit::Rows row(this, [&](Event event, bool isForOthers) {
            m_fixture->notifiesProcesses = true;
            m_session = m_fixture->makeSession();
            m_session->RaiseEvent(event, key, isForOthers);
            m_session.reset();
            QFile file(m_fixture->folder.filePath("Event.xml"));
            QCOMPARE(file.open(QIODevice::ReadOnly), isForOthers);
            QCOMPARE(file.readAll().contains("Id=\"" + QByteArray::number(int(event)) + '"'), isForOthers);
        });
        row("a sign-out", Event::LoggedOut, true);
        row("what only sibling modules raise", Event::AccountCreated, true);
        row("not for others", Event::LoggedOut, false);
    }

    // From the event loop, where no other owner holds the session.
    void anObserverMayEndTheSession() {
        const TestKit::Rows row(this, [&](bool isForcedLogout) {
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
                m_service.control("expire", QJsonObject{{"what", "sessions"}});
                QVERIFY(m_session->RefreshToken(key, false));
            } else {
                std::thread([this] { m_session->RaiseEvent(Event::ServerChanged, key, false); }).join();
            }
            QTRY_VERIFY(!m_session);
            QVERIFY2(wasAlive, "the call is still inside the session");
            QTRY_VERIFY(ended.expired());
            QCOMPARE(first.heard.size(), 1);
            QVERIFY(second.heard.isEmpty());
        });
        row("in an event of another thread", false);
        row("in a forced sign-out", true);
    }

    void aSignOutOnAnotherThreadNotifiesOnTheMainThread() {
        m_session = m_fixture->makeSession();
        signIn(*m_session);
        Hook hook;
        m_session->observers().add(&hook);
        bool isDone = false;
        std::thread worker([this, &isDone] { isDone = signOut(*m_session); });
        const QStringList expected{"AboutToLogout", "LoggingOut", "LoggedOut"};
        const bool isHeard = QTest::qWaitFor([&] { return hook.heard == expected; }, 10000);
        worker.join();
        QVERIFY(isDone);
        QVERIFY2(isHeard, qPrintable(hook.heard.join(QLatin1Char(' '))));
        for (const QString& event : expected)
            QVERIFY(m_fixture->hasLogged(
                QStringLiteral("Emitting signal to send web services event %1 to observers in this process from main thread")
                    .arg(event)));
    }

    // While this process waits for the service it cannot apply a change of the file. It does so afterwards, without a call.
    void aSignOutElsewhereDuringAWaitIsAppliedLater() {
        m_fixture->notifiesProcesses = true;
        m_session = m_fixture->makeSession();
        signIn(*m_session);
        const TestKit::SessionUnderTest other = m_fixture->restoredSession();
        QTest::qWait(300);
        Hook hook;
        m_session->observers().add(&hook);
        delay("request-token", 1500);
        std::thread worker([this] { (void)m_session->InitiateLogin(key, QString()); });
        QTest::qWait(200);
        const bool isDone = signOut(*other);
        const bool isEarly = hook.heard.contains("LoggedOut");
        worker.join();
        QVERIFY(isDone && !isEarly);
        QTRY_COMPARE(hook.heard, QStringList("LoggedOut"));
    }

    // A sibling module of another process raises them, and the login state file does not change.
    void eventsWithoutAChangeOfTheStateAreHeard() {
        const TestKit::Rows row(this, [&](Event event, bool isSignedIn, const QString& heard) {
            m_fixture->notifiesProcesses = true;
            m_session = m_fixture->makeSession();
            const TestKit::SessionUnderTest other = m_fixture->makeSession();
            if (isSignedIn)
                signIn(*m_session);
            other->RestoreLogin(key, false);
            QTest::qWait(300);
            TokenHook hook;
            m_session->observers().add(&hook);
            m_fixture->logger->clear();
            other->RaiseEvent(event, key, true);
            QTRY_COMPARE(hook.heard, QStringList(heard));
            QTest::qWait(200);
            QCOMPARE(hook.heard, QStringList(heard));
            const QString name = eventName(event);
            QCOMPARE(m_fixture->logger->count(QStringLiteral("Raising web services event %1").arg(name)), 1);
            for (const char* const unwanted :
                 {"User  logged out", "(probably old)", "sent by Watcher. This was already sent by Watcher"})
                QVERIFY2(!m_fixture->hasLogged(QLatin1String(unwanted)), unwanted);
        });
        row("a sign-in", Event::LoggedIn, true, "LoggedIn");
        row("a sign-out", Event::LoggedOut, true, "LoggedOut");
        row("a sign-out while nobody is signed in", Event::LoggedOut, false, "LoggedOut");
        row("a token", Event::OAuth2TokenRefreshed, true, "OAuth2TokenRefreshed:" + key);
    }

    // No user is signed in any more, so the change needs no permission to sign out.
    void theServerMayChangeAfterASignOutElsewhere() {
        m_session = m_fixture->makeSession();
        signIn(*m_session);
        const TestKit::SessionUnderTest other = m_fixture->restoredSession();
        QVERIFY(signOut(*other));
        QVERIFY(m_session->ChangeServer(key, Staging, false));
    }

    // It is no client itself, and tells those of several processes apart.
    void theSingleSignOnServerIsNoClient() {
        for (const char* const host : {"/opt/VqSSOServer", "/opt/vqssoserver.exe"})
            QVERIFY(isSSOServerHost(QLatin1String(host)));
        for (const char* const host : {"/opt/VqSSOServerTool", "/opt/VqSSOServer/tool", ""})
            QVERIFY(!isSSOServerHost(QLatin1String(host)));
        SessionDependencies services = m_fixture->services();
        services.isSSOServer = true;
        const ClientIdentity client{key, 7, "Test product", "/opt/test.bin"};
        LoginSession server(services, client);
        QVERIFY(!server.isClient(key));
        server.AddClient(client);
        server.AddClient({"8", 8, QString(), "/opt/test.bin"});
        QCOMPARE(server.clientName(key), QStringLiteral("Test product.test.7"));
        QCOMPARE(server.clientName("8"), QStringLiteral("test.8"));
    }

private:
    QTemporaryDir m_runtime;
    std::shared_ptr<LoginSession> m_session;
};

QTEST_GUILESS_MAIN(SessionEventsTest)
#include "SessionEventsTest.moc"
