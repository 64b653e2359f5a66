// The login state file cannot be read or written for a while: what is newer in memory stays, and reaches the file in the end.

#include "Session/Operations/ProductConfigurator.h"
#include "Session/Operations/SignOutFlow.h"
#include "TestKit/BlockedFile.h"
#include "TestKit/ServiceTest.h"
#include "TestKit/StateProcess.h"

#include <optional>

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

namespace {

const auto key = QStringLiteral("demo-product-0001");
const auto otherKey = QStringLiteral("other-product-0002");

// The file cannot hold such a name, which must not make one sign-in look like two.
const auto bobOfTheService = QStringLiteral("bob\x02");

using Process = TestKit::StateProcess;

} // namespace

class UnsavedStateTest : public TestKit::ServiceTest {
    Q_OBJECT

private slots:
    void initTestCase() { startService({"--users", "ada:secret", "--users", bobOfTheService + ":secret"}); }
    void init() { beginAnew(); }
    void reachesTheFile_data();
    void reachesTheFile();
    void aFileThatCannotBeReadIsNotSeen();
    void endsNoLaterSignIn_data();
    void endsNoLaterSignIn();
    void aSignInReplacesOneOfALaterDate_data();
    void aSignInReplacesOneOfALaterDate();
    void aForcedRestoreLearnsOfASignOut();
    void keepsOAuth2TokensOfUsersApart_data();
    void keepsOAuth2TokensOfUsersApart();

private:
    void signInAs(LoginSession& session, const QString& user);
    void act(LoginSession& session, const QString& step);
    [[nodiscard]] static QString tokenOf(LoginSession& session);
};

void UnsavedStateTest::signInAs(LoginSession& session, const QString& user) {
    const InitiatedLogin login = session.InitiateLogin(key, QString());
    QVERIFY(m_service.approve(login.url, user));
    QCOMPARE(session.CompleteLogin(key, nullptr), LoginCode::success);
}

void UnsavedStateTest::act(LoginSession& session, const QString& step) {
    QNetworkReply::NetworkError error = QNetworkReply::NoError;
    if (step == QLatin1String("refresh"))
        QVERIFY(session.RefreshToken(key, true));
    else if (step == QLatin1String("sign in"))
        signInAs(session, bobOfTheService);
    else
        QVERIFY(session.Logout(key, error, true));
}

QString UnsavedStateTest::tokenOf(LoginSession& session) {
    Util::SecretBytes token;
    Util::SecretBytes secret;
    return session.GetAccessToken(key, false, token, secret) ? token.toText() : QString();
}

void UnsavedStateTest::reachesTheFile_data() {
    QTest::addColumn<QString>("step");
    QTest::addColumn<QString>("then");
    QTest::addColumn<QString>("user");
    for (const char* const then : {"calls", "another process writes", "ends"}) {
        QTest::addRow("a refreshed token, %s", then) << "refresh" << then << "ada";
        QTest::addRow("another sign-in, %s", then) << "sign in" << then << "bob";
        QTest::addRow("a sign-out, %s", then) << "sign out" << then << "";
    }
}

void UnsavedStateTest::reachesTheFile() {
    QFETCH(QString, step);
    QFETCH(QString, then);
    QFETCH(QString, user);
    auto session = m_fixture->makeSession();
    signIn(*session);
    Process other(*m_fixture, otherKey);
    other.restore();
    std::optional<TestKit::BlockedFile> blocked(m_fixture->file());
    act(*session, step);
    const QString token = tokenOf(*session);
    blocked.reset();
    QCOMPARE(m_fixture->userInFile(), QStringLiteral("ada"));
    if (then == QLatin1String("another process writes"))
        QCOMPARE(LoginStateSaver(other.core).save(), LoginStateSaver::Result::Saved);
    if (then == QLatin1String("ends")) {
        session.reset();
    } else {
        QCOMPARE(session->isLoggedIn(key), !user.isEmpty());
        QCOMPARE(tokenOf(*session), token);
        // Each call is a chance, but not every moment.
        QTRY_VERIFY_WITH_TIMEOUT(session->isLoggedIn(key) != user.isEmpty() && m_fixture->tokenInFile() == token, 5000);
        QCOMPARE(tokenOf(*session), token);
    }
    QCOMPARE(m_fixture->userInFile(), user);
    const auto next = m_fixture->makeSession();
    next->RestoreLogin(key, false);
    QCOMPARE(tokenOf(*next), token);
}

void UnsavedStateTest::aFileThatCannotBeReadIsNotSeen() {
    Process process(*m_fixture);
    process.restoreAndSignIn();
    const TestKit::BlockedFile blocked(m_fixture->file());
    process.lookAtFile();
    QVERIFY(process.core.file.seenStamp() != process.core.file.currentStamp());
    process.restore();
    QVERIFY(process.core.file.seenStamp() != process.core.file.currentStamp());
    QVERIFY(process.core.isLoggedIn());
}

void UnsavedStateTest::endsNoLaterSignIn_data() {
    QTest::addColumn<QString>("later");
    QTest::newRow("nobody") << "";
    QTest::newRow("another user") << "bob";
    QTest::newRow("the same user again") << "ada";
}

// A sign-out takes up to a minute, since it tells the service; meanwhile another process may have signed out and in.
void UnsavedStateTest::endsNoLaterSignIn() {
    QFETCH(QString, later);
    Process first(*m_fixture);
    first.restoreAndSignIn();
    Process second(*m_fixture);
    second.restore();
    if (!later.isEmpty()) {
        QVERIFY(SignOutFlow(second.core).complete({}));
        second.signIn(later);
        QCOMPARE(LoginStateSaver(second.core).saveSignIn(*ProductConfigurator(second.core).configure(key)),
                 LoginStateSaver::Result::Saved);
    }
    QVERIFY(SignOutFlow(first.core).complete({}));
    QVERIFY(!first.core.isLoggedIn());
    QCOMPARE(m_fixture->userInFile(), later);
    second.lookAtFile();
    QCOMPARE(second.core.basic().userName, later);
    first.lookAtFile();
    QCOMPARE(first.core.basic().userName, later);
    // Nor does what the first one writes from now on.
    LoginStateSaver(first.core).save();
    second.lookAtFile();
    QCOMPARE(second.core.basic().userName, later);
}

void UnsavedStateTest::aSignInReplacesOneOfALaterDate_data() {
    QTest::addColumn<int>("ahead");
    QTest::addColumn<bool>("isKnown");
    for (const int ahead : {0, 86400}) {
        for (const bool isKnown : {true, false})
            QTest::addRow("dated %d s ahead, %s", ahead, isKnown ? "known" : "not known") << ahead << isKnown;
    }
}

// Whatever the clock says, who signs in now is the one who is signed in.
void UnsavedStateTest::aSignInReplacesOneOfALaterDate() {
    QFETCH(int, ahead);
    QFETCH(bool, isKnown);
    const auto session = m_fixture->makeSession();
    session->RestoreLogin(key, false);
    Process late(*m_fixture);
    late.restore();
    m_fixture->clockOffset = ahead;
    Process before(*m_fixture);
    before.restoreAndSignIn();
    m_fixture->clockOffset = 0;
    if (isKnown) {
        signInAs(*session, bobOfTheService);
    } else {
        late.signIn(QStringLiteral("bob"));
        LoginStateSaver(late.core).saveSignIn(*ProductConfigurator(late.core).configure(key));
    }
    QCOMPARE(m_fixture->userInFile(), QStringLiteral("bob"));
    before.lookAtFile();
    QCOMPARE(before.core.basic().userName, QStringLiteral("bob"));
}

void UnsavedStateTest::aForcedRestoreLearnsOfASignOut() {
    Process first(*m_fixture);
    first.restoreAndSignIn();
    Process second(*m_fixture);
    second.restore();
    QVERIFY(SignOutFlow(second.core).complete({}));
    first.restore();
    QVERIFY(!first.core.isLoggedIn());
}

void UnsavedStateTest::keepsOAuth2TokensOfUsersApart_data() {
    QTest::addColumn<bool>("isBlocked");
    QTest::addColumn<QString>("logged");
    QTest::newRow("below another user") << false << "Login state not found for this product in the login state file.";
    QTest::newRow("no file to write")
        << true << "Failed to save OAuth2 access token for product Product of demo-product-0001 to login state file ";
}

void UnsavedStateTest::keepsOAuth2TokensOfUsersApart() {
    QFETCH(bool, isBlocked);
    QFETCH(QString, logged);
    Process first(*m_fixture);
    first.restoreAndSignIn();
    const QByteArray before = m_fixture->fileContents();
    m_fixture->clockOffset = 60;
    Process second(*m_fixture);
    second.restore();
    second.signIn(QStringLiteral("bob")); // which is not saved yet
    std::optional<TestKit::BlockedFile> blocked;
    if (isBlocked)
        blocked.emplace(m_fixture->file());
    const OAuth2TokenData token{RT, QString(), m_fixture->cryptor->encrypt("token"), QDateTime::currentDateTimeUtc().addSecs(60)};
    QCOMPARE(LoginStateSaver(second.core).saveOAuth2(*ProductConfigurator(second.core).configure(key), token),
             LoginStateSaver::Result::Failed);
    blocked.reset();
    QVERIFY(m_fixture->hasLogged(logged));
    QCOMPARE(m_fixture->fileContents(), before);
}

QTEST_GUILESS_MAIN(UnsavedStateTest)
#include "UnsavedStateTest.moc"
