// Orders of events between processes, and between a thread and a step that waits, which must cost nobody a sign-in.

#include "TestKit/BlockedFile.h"
#include "TestKit/RecordingObserver.h"
#include "TestKit/ServiceTest.h"

#include <QTimer>
#include <optional>

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

namespace {

/// Decrypts as slowly as a busy machine does. Thread: any. Owner: the sessions.
class SlowCryptor final : public Util::ICryptor {
public:
    explicit SlowCryptor(std::shared_ptr<Util::ICryptor> cryptor)
        : m_cryptor(std::move(cryptor)) {}
    [[nodiscard]] QByteArray encrypt(const QByteArray& clear) override { return m_cryptor->encrypt(clear); }
    [[nodiscard]] Util::SecretBytes decrypt(const QByteArray& encrypted) override {
        QThread::msleep(200);
        return m_cryptor->decrypt(encrypted);
    }

private:
    const std::shared_ptr<Util::ICryptor> m_cryptor;
};

} // namespace

class SignInRaceTest : public TestKit::ServiceTest {
    Q_OBJECT

private slots:
    void initTestCase() {
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_runtime.path()));
        startService({"--users", "ada:secret", "--users", "bob:secret"});
    }

    void init() {
        startOver();
        m_session = m_fixture->makeSession();
    }

    void aSignInThatWaitsForTheBrowserIsNotLost() {
        using Meanwhile = std::function<void(LoginSession & other)>;
        const TestKit::Rows row(this, [&](bool isStillSignedIn, const Meanwhile& meanwhile) {
            signIn(*m_session);
            const InitiatedLogin login = m_session->InitiateLogin(key, "DOMAIN");
            QCOMPARE(login.code, LoginCode::success);
            QVERIFY(m_service.approve(login.url, "bob"));
            const auto other = m_fixture->restoredSession();
            meanwhile(*other);
            QCOMPARE(m_session->isLoggedIn(key), isStillSignedIn);
            m_fixture->clockOffset = 0;
            QCOMPARE(m_session->CompleteLogin(key, nullptr), LoginCode::success);
            QCOMPARE(m_fixture->userInFile(), QStringLiteral("bob"));
            QCOMPARE(m_session->basicState().ldapDomainKey, QStringLiteral("DOMAIN"));
            QCOMPARE(other->basicState().userName, QStringLiteral("bob"));
        });
        const auto expire = [this](LoginSession&) {
            m_fixture->clockOffset = 400 * 86400;
            QVERIFY(m_fixture->makeSession()->RestoreLogin(key, false));
        };
        row("another process signs out", false, [](LoginSession& other) { QVERIFY(signOut(other)); });
        row("another process signs in", true, [this](LoginSession& other) { signInAgain(other, key, "ada"); });
        row("the session expires", false, expire);
        row("another process lets the file be read", true, [](LoginSession& other) { QVERIFY(other.RefreshToken(key, true)); });
    }

    // What it obtained could not be saved, and the token in the file would be spent.
    void aProcessThatIsNotRestoredYetAsksForNoToken() {
        m_fixture->notifiesProcesses = true;
        const auto early = m_fixture->makeSession(TestKit::secondKey, TestKit::secondSecret);
        const auto first = m_fixture->makeSession();
        signIn(*first);
        QTRY_VERIFY(m_fixture->hasLogged("User logged in another process. Trying to login in this process."));
        QTRY_VERIFY(m_fixture->hasLogged("User ada logged in successfully in product"));
        QTest::qWait(300);
        QCOMPARE(m_service.requests("access-token"), 1);
        QVERIFY(early->RestoreLogin(TestKit::secondKey, false));
        QTRY_VERIFY(!accessToken(*early, TestKit::secondKey).isEmpty());
        QTRY_COMPARE(m_fixture->fileContents().count("<Product "), 2);
    }

    void aFileThatCouldNotBeReadAtTheRestoreIsReadLater() {
        m_fixture->writeFile("<WebServices><Settings CurrentServer=\"1\"/><ProxySettings Type=\"3\" Host=\"proxy\" Port=\"80\" "
                             "User=\"ada\"/></WebServices>");
        m_session->SetConfiguration(key, TestKit::SessionFixture::configuration(key, secret, Staging));
        std::optional<TestKit::BlockedFile> blocked(m_fixture->file());
        m_session->RestoreLogin(key, false);
        blocked.reset();
        QTRY_COMPARE(m_session->currentServer(), Staging);
        QVERIFY(m_session->proxyCredentials().HasProxyAuthentication("proxy", 80));
        QVERIFY(m_session->ClearProxyInfo());
        QNetworkProxy::setApplicationProxy(QNetworkProxy::DefaultProxy);
        QCOMPARE(m_fixture->element({"Settings"}).attribute("CurrentServer"), QStringLiteral("1"));
    }

    // A dialog about unsaved work takes as long as its user needs.
    void aLateVetoCounts() {
        signIn(*m_session);
        TestKit::RecordingObserver<> observer;
        observer.vetoes = true;
        m_session->observers().add(&observer);
        std::atomic<int> result{-1};
        std::thread caller([&] { result = signOut(*m_session) ? 1 : 0; });
        QThread::msleep(5300);
        QTRY_VERIFY(result >= 0);
        caller.join();
        QCOMPARE(result.load(), 0);
        QVERIFY(m_session->isLoggedIn(key));
    }

    void aServerCanBeChosenWhenTheFileNamesNone() {
        m_fixture->writeFile("<WebServices><Settings CurrentServer=\"-1\"/></WebServices>");
        QVERIFY(m_session->ChangeServer(key, Production, true));
        QCOMPARE(m_fixture->element({"Settings"}).attribute("CurrentServer"), QStringLiteral("0"));
        QVERIFY(m_session->isRestored());
        signInAgain(*m_session, key, "ada");
    }

    // A thread that finds the file read must find its content in memory.
    void aSignInThatIsStillAppliedIsWaitedFor() {
        const auto fast = m_fixture->cryptor;
        m_fixture->cryptor = std::make_shared<SlowCryptor>(fast);
        const std::shared_ptr<LoginSession> other = m_fixture->makeSession();
        m_fixture->cryptor = fast;
        other->RestoreLogin(key, false);
        signIn(*m_session);
        m_fixture->logger->clear();
        std::thread follower([&] { other->followFile(); });
        QTRY_VERIFY(m_fixture->hasLogged("Reading login state file"));
        QTest::qWait(50);
        other->followFile();
        const bool isLoggedIn = other->isLoggedIn(key);
        follower.join();
        QVERIFY(isLoggedIn);
    }

    // The file itself was lost: nobody has signed out.
    void aLostFileSignsNobodyOut() {
        signIn(*m_session);
        const auto other = m_fixture->makeSession(TestKit::secondKey, TestKit::secondSecret);
        QVERIFY(QFile::remove(m_fixture->file()));
        other->RestoreLogin(TestKit::secondKey, false);
        QVERIFY(other->SetProxyAuthentication("proxy", 80, "ada", "secret"));
        QVERIFY(m_session->isLoggedIn(key));
        QTRY_VERIFY(m_session->isLoggedIn(key) && m_fixture->userInFile() == QLatin1String("ada"));
        QVERIFY(m_session->ClearProxyInfo());
        QNetworkProxy::setApplicationProxy(QNetworkProxy::DefaultProxy);
    }

    // A refusal by the service comes while a sign-in waits on the main thread.
    void aForcedSignOutInsideAStepIsDoneAfterIt() {
        signIn(*m_session);
        TestKit::RecordingObserver<> observer;
        m_session->observers().add(&observer);
        delay("request-token", 500);
        const QString signInId = QStringLiteral("0|%1|%2")
                                     .arg(m_session->basicState().loginDate.toMSecsSinceEpoch())
                                     .arg(m_session->basicState().userId);
        QVERIFY(QMetaObject::invokeMethod(m_session.get(), "LogoutSlot", Qt::QueuedConnection, Q_ARG(QString, key),
                                          Q_ARG(QString, signInId)));
        const InitiatedLogin login = m_session->InitiateLogin(key, QString());
        QCOMPARE(login.code, LoginCode::success);
        QTRY_VERIFY(!m_session->isLoggedIn(key));
        QCOMPARE(observer.heard, QStringList({"AboutToLogout", "LoggedOut"}));
        // The sign-in that was begun replaces the one that could not be used any more.
        QVERIFY(m_service.approve(login.url, "ada"));
        QCOMPARE(m_session->CompleteLogin(key, nullptr), LoginCode::success);
    }

    void aProductThatIsRemovedWhileItsTokensAreSavedKeepsThem() {
        signIn(*m_session);
        const QString before = m_fixture->tokenInFile();
        delay("request-token", 1000);
        QVERIFY(m_session->RefreshToken(key, false));
        // The refresh is over by now, and waits for this step to save.
        QTimer::singleShot(800, m_session.get(), [this] { m_session->RemoveClient(key); });
        (void)m_session->InitiateLogin(key, QString());
        QTRY_VERIFY(m_fixture->tokenInFile() != before);
        const auto next = m_fixture->restoredSession();
        QVERIFY(next->RefreshToken(key, true));
    }

    void anotherSignInOfTheSameUserIsNoSignOut() {
        signIn(*m_session);
        const auto other = m_fixture->restoredSession();
        TestKit::RecordingObserver<> observer;
        other->observers().add(&observer);
        signInAgain(*m_session, key, "ada");
        QCOMPARE(accessToken(*other), accessToken(*m_session));
        QCOMPARE(observer.heard, QStringList({"LoggedIn"}));
        QVERIFY(!m_fixture->hasLogged("was signed out in another process"));
    }

private:
    const QTemporaryDir m_runtime;
};

QTEST_GUILESS_MAIN(SignInRaceTest)
#include "SignInRaceTest.moc"
