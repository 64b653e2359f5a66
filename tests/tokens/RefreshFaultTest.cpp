// A network that fails again and again, servers that refuse, a machine that sleeps: a refresh is tried again at the right
// millisecond of the test's clock, and nothing is lost.

#include "Tokens/Refresh/TokenRefresher.h"
#include "WorkerFixture.h"

#include <QTcpServer>

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;
using TestKit::answer;
using TestKit::minute;
using TestKit::second;

class RefreshFaultTest : public TestKit::WorkerFixture {
    Q_OBJECT

private slots:
    void init() {
        startOver();
        makeRefresher(m_fixture->folder.path());
    }

    void cleanup() { m_refresher.reset(); }

    void networkFaultsKeepTokenAndSignIn() {
        const ProductTokens before = m_owner->held;
        for (int fault = 0; fault < 24; ++fault) {
            fail(fault);
            passTime();
            QCOMPARE(interval(), minute);
            QCOMPARE(m_owner->held.accessToken, before.accessToken);
            QCOMPARE(m_owner->held.expiryDate, before.expiryDate);
        }
        QCOMPARE(m_owner->forcedLogouts, 0);
        QVERIFY(!m_fixture->hasLogged("Token refresh timer message arrived"));
        QCOMPARE(m_fixture->logger->count("Failed to refresh token. Will retry token refresh after 1 min. "), 16);
        QCOMPARE(m_fixture->logger->count("Failed to parse token refresh response returned by server."), 8);
        play(TestKit::goodTokenReply());
        passTime();
        QCOMPARE(heldToken(), QStringLiteral("new-token"));
        QCOMPARE(interval(), 10 * minute);
        QVERIFY(m_fixture->hasLogged("Token refreshed successfully. Token expires in "));
        QVERIFY(m_fixture->hasLogged("Token refresh timer started with interval 10 min"));
    }

    void fiveRefusalsSignOut() {
        // intervals: then the user is signed out
        const TestKit::Rows row(this, [&](const QByteArray& reply, const QVector<int>& intervals) {
            play(reply);
            QVector<int> found;
            for (int attempt = 0; attempt < 10 && m_owner->forcedLogouts == 0; ++attempt) {
                passTime();
                if (interval() != -1)
                    found += interval();
            }
            QCOMPARE(found, intervals);
            QCOMPARE(m_owner->forcedLogouts, 1);
            QCOMPARE(requests(), intervals.size() + 1);
            QCOMPARE(m_fixture->hasLogged("Failed to refresh token after 5 attempts."), !intervals.isEmpty());
        });
        const QVector<int> minutes{minute, minute, minute, minute};
        const QVector<int> clock{2 * second, 2 * second, minute, minute};
        row("503", answer("503 Service Unavailable", ""), minutes);
        row("404", answer("404 Not Found", "<html></html>"), minutes);
        row("401", TestKit::problemReply("401 Unauthorized", "token_rejected"), minutes);
        row("401, clock", TestKit::problemReply("401 Unauthorized", "message_expired"), clock);
        row("400, clock", TestKit::problemReply("400 Bad Request", "message_expired"), clock);
        row("400", TestKit::problemReply("400 Bad Request", "token_rejected"), {});
    }

    // Five callers within a second, each of which finds the token expired and sends a request.
    void aBurstOfCallersCountsOnceInAnOutage() {
        // expected: more requests until the user is signed out
        const TestKit::Rows row(this, [&](const QByteArray& reply, int expected) {
            m_owner->held.expiryDate = m_owner->clock;
            play(reply);
            for (int caller = 0; caller < 5; ++caller) {
                QCOMPARE(m_refresher->ask(true, RefreshWorker::Reason::Expired), RefreshWorker::Answer::Started);
                waitForEnd(*m_refresher);
                m_owner->clock = m_owner->clock.addMSecs(40);
            }
            int more = 0;
            for (; more < 10 && m_owner->forcedLogouts == 0; ++more)
                passTime();
            QCOMPARE(more, expected);
            QCOMPARE(m_owner->forcedLogouts, 1);
            QCOMPARE(requests(), 5 + more);
        });
        row("503", answer("503 Service Unavailable", ""), 4);
        row("401", TestKit::problemReply("401 Unauthorized", "token_rejected"), 0);
    }

    // The timer comes hours late: one refresh follows at once, and a caller that finds the token fresh starts no second one.
    void aRefreshFollowsTheSleepOfTheMachine() {
        m_owner->held.expiryDate = m_owner->clock.addSecs(2 * 3600);
        m_refresher->LoggedIn();
        QCOMPARE(interval(), 60 * minute);
        play(TestKit::goodTokenReply());
        passTime(9 * 60LL * minute);
        QCOMPARE(requests(), 1);
        QVERIFY(m_fixture->hasLogged(
            "Token refresh timer message arrived 9 h late. Timer message was expected at 2030-05-01T13:00:00Z"));
        QVERIFY(m_fixture->hasLogged("Token refresh timer message: Token has expired. Time to refresh now."));
        QCOMPARE(interval(), 10 * minute);
        QCOMPARE(m_refresher->ask(true, RefreshWorker::Reason::Expired), RefreshWorker::Answer::Started);
        QTest::qWait(50);
        QCOMPARE(requests(), 1);
        QCOMPARE(interval(), 10 * minute);
    }

    // Four refusals, a change, and more refusals: a change brings no try forward, but the failures of a replaced token do not
    // count.
    void aChangeBetweenTriesCountsOnlyWithAnotherToken() {
        // tries: until the user is signed out
        const TestKit::Rows row(this, [&](bool isAnother, int tries) {
            play(answer("503 Service Unavailable", ""));
            for (int attempt = 0; attempt < 4; ++attempt)
                passTime();
            if (isAnother)
                m_owner->held = m_owner->tokensNamed("another", 301);
            m_refresher->TokenAvailable();
            QCOMPARE(interval(), isAnother ? second : minute);
            for (int attempt = 0; attempt < 10 && m_owner->forcedLogouts == 0; ++attempt)
                passTime();
            QCOMPARE(m_owner->forcedLogouts, 1);
            QCOMPARE(requests(), tries);
        });
        row("of other things", false, 5);
        row("another token", true, 9);
    }

    // It ends before the one that it replaces: the clock that both were dated by has been put right since.
    void anotherTokenInTheFileEndsTheRefresh() {
        const TestKit::Rows row(this, [&](const QByteArray& reply, int tries, int look, int requestsSent) {
            play(reply);
            m_owner->held.expiryDate = m_owner->clock.addSecs(301);
            m_owner->putIntoFile(m_owner->tokensNamed("another", 300), look);
            for (int attempt = 0; attempt < tries; ++attempt)
                passTime();
            QCOMPARE(m_owner->forcedLogouts, 0);
            QCOMPARE(heldToken(), QStringLiteral("another"));
            QCOMPARE(requests(), requestsSent);
            QCOMPARE(interval(), 2 * second);
        });
        row("before the request", TestKit::problemReply("400 Bad Request", "token_rejected"), 1, 1, 0);
        row("by the time of the refusal", TestKit::problemReply("400 Bad Request", "token_rejected"), 1, 2, 1);
        row("by the fifth failure", answer("503 Service Unavailable", ""), 5, 6, 5);
    }

    // A file that cannot be read may hold a newer token, so the refusal of this one ends nothing until it is read.
    void aFileThatCannotBeReadEndsNothing() {
        const TestKit::Rows row(this, [&](int tries) {
            play(tries == 1 ? TestKit::problemReply("400 Bad Request", "token_rejected") : answer("503 Service Unavailable", ""));
            m_owner->look = FileLook::Unread;
            for (int attempt = 0; attempt < tries; ++attempt)
                passTime();
            QCOMPARE(m_owner->forcedLogouts, 0);
            QCOMPARE(interval(), minute);
            play(TestKit::goodTokenReply());
            m_owner->look = FileLook::Read;
            passTime();
            QCOMPARE(heldToken(), QStringLiteral("new-token"));
        });
        row("a refusal", 1);
        row("five failures", 5);
    }

    // A host's code may hold the login state for long. A token that is in memory alone leaves a mark: the next process finds a
    // spent token in the file, and must not take the refusal for the end of the sign-in.
    void tokensThatCannotBeStoredYetAreStoredLater() {
        const TestKit::Rows row(this, [&](StoreResult result, bool isMarked, bool isTriedAgain) {
            play(TestKit::goodTokenReply());
            m_owner->storeResult = result;
            passTime();
            QCOMPARE(!QDir(m_fixture->folder.path()).entryList({"*.pending"}).isEmpty(), isMarked);
            if (!isTriedAgain)
                return;
            QCOMPARE(interval(), minute);
            QCOMPARE(heldToken(), QStringLiteral("token"));
            m_owner->storeResult = StoreResult::Stored;
            passTime();
            QCOMPARE(heldToken(), QStringLiteral("new-token"));
            QCOMPARE(interval(), 10 * minute);
        });
        row("in the file", StoreResult::Stored, false, false);
        row("in memory alone", StoreResult::Unwritten, true, false);
        row("the state is busy", StoreResult::Busy, true, true);
    }

    void aRefreshWorksWithoutLocks() {
        makeRefresher(m_fixture->folder.filePath("missing"));
        play(TestKit::goodTokenReply());
        passTime();
        QCOMPARE(heldToken(), QStringLiteral("new-token"));
    }

private:
    void makeRefresher(const QString& lockFolder) {
        m_refresher.reset();
        TokenDependencies services = m_owner->services();
        services.lockFolder = lockFolder;
        m_controller = std::make_unique<RefreshController>("digest", m_owner->productKey(), services);
        m_refresher = std::make_unique<TokenRefresher>(*m_owner, *m_controller, m_flags, std::make_shared<RunState>(),
                                                       services.claims->makePendingRefresh("digest", m_fixture->folder.path()));
        m_owner->held.expiryDate = m_owner->clock.addSecs(301);
        m_refresher->LoggedIn();
        QCOMPARE(interval(), second);
    }

    void fail(int kind) {
        switch (kind % 6) {
        case 0: return play({}, false); // until the time is over
        case 1: return pointTo("https://no-such-host.invalid");
        case 2:
            return play(answer("200 OK", "<html><body>Welcome to our network. Please sign in.</body></html>",
                               "Content-Type: text/html\r\n"));
        case 3: {
            QTcpServer closed;
            QVERIFY(closed.listen(QHostAddress::LocalHost));
            return pointTo(QStringLiteral("http://127.0.0.1:%1").arg(closed.serverPort()));
        }
        case 4: return play(answer("200 OK", "oauth_token=new-token&oauth_session_handle=new-handle&oauth_expires_in=3600"));
        default: return play(TestKit::goodTokenReply().chopped(20));
        }
    }

    [[nodiscard]] int interval() const { return WorkerFixture::interval(*m_refresher); }
    /// The next attempt, to its end.
    void passTime(qint64 moreMs = 0) {
        fire(*m_refresher, moreMs);
        waitForEnd(*m_refresher);
    }

    std::unique_ptr<RefreshController> m_controller;
    std::unique_ptr<TokenRefresher> m_refresher;
};

QTEST_GUILESS_MAIN(RefreshFaultTest)
#include "RefreshFaultTest.moc"
