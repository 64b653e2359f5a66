// The login state file cannot be read or written for a while: what is newer in memory stays, and reaches the file in the end.

#include "Session/Operations/SignOutFlow.h"
#include "TestKit/BlockedFile.h"
#include "TestKit/RecordingObserver.h"
#include "TestKit/ServiceTest.h"
#include "TestKit/StateProcess.h"

#include <optional>

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

namespace {

const auto otherKey = QStringLiteral("other-product-0002");

// The file cannot hold such a name, which must not make one sign-in look like two.
const auto bobOfTheService = QStringLiteral("bob\x02");

using Process = TestKit::StateProcess;

} // namespace

class UnsavedStateTest : public TestKit::ServiceTest {
    Q_OBJECT

private slots:
    void initTestCase() { startService({"--users", "ada:secret", "--users", bobOfTheService + ":secret"}); }
    void init() { startOver(); }

    void anUnsavedChangeReachesTheFileLater() {
        const TestKit::Rows row(this, [&](const QByteArray& step, const QByteArray& then, const QString& user) {
            auto session = m_fixture->makeSession();
            signIn(*session);
            Process other(*m_fixture, otherKey);
            other.restore();
            std::optional<TestKit::BlockedFile> blocked(m_fixture->file());
            act(*session, step);
            const QString token = accessToken(*session);
            blocked.reset();
            QCOMPARE(m_fixture->userInFile(), QStringLiteral("ada"));
            if (then == "another process writes")
                QCOMPARE(other.save(), LoginStateStore::Result::Saved);
            if (then == "ends") {
                session.reset();
            } else {
                QCOMPARE(session->isLoggedIn(key), !user.isEmpty());
                QCOMPARE(accessToken(*session), token);
                // Each call is a chance, but not every moment.
                QTRY_VERIFY_WITH_TIMEOUT(session->isLoggedIn(key) != user.isEmpty() && m_fixture->tokenInFile() == token, 20000);
                QCOMPARE(accessToken(*session), token);
            }
            QCOMPARE(m_fixture->userInFile(), user);
            const auto next = m_fixture->restoredSession();
            QCOMPARE(accessToken(*next), token);
        });
        for (const QByteArray then : {"calls", "another process writes", "ends"}) {
            row("a refreshed token, " + then, "refresh", then, "ada");
            row("another sign-in, " + then, "sign in", then, "bob");
            row("a sign-out, " + then, "sign out", then, "");
        }
    }

    void aFileThatCannotBeReadCountsAsUnseen() {
        Process process(*m_fixture);
        process.restoreAndSignIn();
        const TestKit::BlockedFile blocked(m_fixture->file());
        process.lookAtFile();
        QVERIFY(process.core.hasFileChanged());
        process.restore();
        QVERIFY(process.core.hasFileChanged());
        QVERIFY(process.core.isLoggedIn());
    }

    // Another process signs out of the sign-in that the file still holds.
    void aSignInThatIsNotWrittenYetEndsWithTheUsersSignOutAlone() {
        const TestKit::Rows row(this, [&](bool byServer) {
            Process first(*m_fixture);
            first.restoreAndSignIn();
            Process second(*m_fixture);
            second.restore();
            const auto waitForNextSecond = [](const Process& process) {
                QTRY_VERIFY(QDateTime::currentDateTimeUtc() > process.core.basic().loginDate.addSecs(1));
            };
            waitForNextSecond(first);
            second.signIn("ada");
            {
                const TestKit::BlockedFile blocked(m_fixture->file());
                QCOMPARE(second.saveSignIn(), LoginStateStore::Result::Failed);
            }
            waitForNextSecond(second);
            using EndedBy = SignOutFlow::EndedBy;
            QVERIFY(SignOutFlow(first.core).complete({}, {}, byServer ? EndedBy::Others : EndedBy::User));
            second.lookAtFile();
            QCOMPARE(second.core.isLoggedIn(), byServer);
        });
        row("the user signs out", false);
        row("the server ends the earlier sign-in", true);
    }

    // A sign-out takes up to a minute, since it notifies the service. Another process may sign out and in during that time.
    void aSlowSignOutEndsNoLaterSignIn() {
        const TestKit::Rows row(this, [&](const QString& later) {
            Process first(*m_fixture);
            first.restoreAndSignIn();
            Process second(*m_fixture);
            second.restore();
            if (!later.isEmpty()) {
                QVERIFY(SignOutFlow(second.core).complete({}));
                second.signIn(later);
                QCOMPARE(second.saveSignIn(), LoginStateStore::Result::Saved);
            }
            QVERIFY(SignOutFlow(first.core).complete({}));
            QVERIFY(!first.core.isLoggedIn());
            QCOMPARE(m_fixture->userInFile(), later);
            second.lookAtFile();
            QCOMPARE(second.core.basic().userName, later);
            first.lookAtFile();
            QCOMPARE(first.core.basic().userName, later);
            // Nor does what the first one writes from now on.
            first.save();
            second.lookAtFile();
            QCOMPARE(second.core.basic().userName, later);
        });
        row("nobody", "");
        row("another user", "bob");
        row("the same user again", "ada");
    }

    // The sign-in that happens now counts, whatever the clocks say.
    void aSignInReplacesOneOfALaterDate() {
        const TestKit::Rows row(this, [&](int ahead, bool isKnown) {
            const auto session = m_fixture->restoredSession();
            Process late(*m_fixture);
            late.restore();
            m_fixture->clockOffset = ahead;
            Process before(*m_fixture);
            before.restoreAndSignIn();
            m_fixture->clockOffset = 0;
            if (isKnown) {
                signInAgain(*session, key, bobOfTheService);
            } else {
                late.signIn("bob");
                late.saveSignIn();
            }
            QCOMPARE(m_fixture->userInFile(), QStringLiteral("bob"));
            before.lookAtFile();
            QCOMPARE(before.core.basic().userName, QStringLiteral("bob"));
        });
        row("of the same time, known", 0, true);
        row("of the same time, not known", 0, false);
        row("dated a day ahead, known", 86400, true);
        row("dated a day ahead, not known", 86400, false);
    }

    void aForcedRestoreAppliesASignOutElsewhere() {
        Process other(*m_fixture);
        other.restoreAndSignIn();
        const auto session = m_fixture->restoredSession();
        QVERIFY(session->isLoggedIn(key));
        TestKit::RecordingObserver<> observer;
        session->observers().add(&observer);
        QVERIFY(SignOutFlow(other.core).complete({}));
        session->RestoreLogin(key, true);
        QVERIFY(!session->isLoggedIn(key));
        QCOMPARE(observer.heard, QStringList({"LoggedOut", "LoginRestored"}));
        session->observers().remove(&observer);
    }

    void keepsOAuth2TokensOfUsersApart() {
        const TestKit::Rows row(this, [&](bool isBlocked, const QString& logged) {
            Process first(*m_fixture);
            first.restoreAndSignIn();
            const QByteArray before = m_fixture->fileContents();
            m_fixture->clockOffset = 60;
            Process second(*m_fixture);
            second.restore();
            second.signIn("bob"); // which is not saved yet
            std::optional<TestKit::BlockedFile> blocked;
            if (isBlocked)
                blocked.emplace(m_fixture->file());
            const OAuth2TokenData token{RT, QString(), m_fixture->cryptor->encrypt("token"),
                                        QDateTime::currentDateTimeUtc().addSecs(60)};
            {
                LockedState state(second.core);
                QCOMPARE(LoginStateStore(state).saveOAuth2(*second.product(), token), LoginStateStore::Result::Failed);
            }
            blocked.reset();
            QVERIFY(m_fixture->hasLogged(logged));
            QCOMPARE(m_fixture->fileContents(), before);
        });
        row("below another user", false, "Login state not found for this product in the login state file.");
        row("no file to write", true,
            "Failed to save OAuth2 access token for product Product of demo-product-0001 to login state file ");
    }

private:
    void act(LoginSession& session, const QByteArray& step) {
        if (step == "refresh")
            QVERIFY(session.RefreshToken(key, true));
        else if (step == "sign in")
            signInAgain(session, key, bobOfTheService);
        else
            QVERIFY(signOut(session));
    }
};

QTEST_GUILESS_MAIN(UnsavedStateTest)
#include "UnsavedStateTest.moc"
