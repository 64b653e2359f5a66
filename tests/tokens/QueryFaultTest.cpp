// The automatic sign-in of a product: when its query is tried again, when it gives up, and what becomes of its result.

#include "Session/Products/TokenOperations.h"
#include "VqUtil/Locks/ProcessGuard.h"
#include "WorkerFixture.h"

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;
using Event = WebServicesPrivateCore::WebServicesEvent;
using TestKit::answer;
using TestKit::second;

class QueryFaultTest : public TestKit::WorkerFixture {
    Q_OBJECT

private slots:
    void init() {
        startOver();
        m_owner->held = {};
        makeFetcher();
    }

    void cleanup() { m_fetcher.reset(); }

    void theResultOfAQueryIsLostWithTheSignIn() {
        const TestKit::Rows row(this, [&](const QByteArray& more, bool signsOut, const QString& logged) {
            play(TestKit::goodTokenReply(more), true, 150);
            QVERIFY(m_fetcher->CheckAutomaticLogin());
            QTRY_COMPARE(requests(), 1);
            m_owner->loggedIn = !signsOut;
            waitForEnd(*m_fetcher);
            QVERIFY2(m_fixture->hasLogged(logged), qPrintable(m_fixture->logger->texts().join('\n')));
            QCOMPARE(m_owner->held.areComplete(), !signsOut);
            QCOMPARE(interval(), -1);
        });
        row("with a name", "&x_oauth_user_name=ada", false, "User ada automatically logged in using");
        row("without", {}, false, "User user-1 automatically logged in using");
        row("after a sign-out", {}, true, "But ignoring the result since user has logged out.");
    }

    // The second sign-in finds the query in progress, and starts none of its own.
    void aSecondSignInDuringTheQueryIsServed() {
        const TestKit::Rows row(this, [&](bool byThisProduct, int expectedRequests, const QString& token) {
            play(TestKit::goodTokenReply(), true, 150);
            QVERIFY(m_fetcher->CheckAutomaticLogin());
            QTRY_COMPARE(requests(), 1);
            signInAgain(byThisProduct);
            QVERIFY(m_fetcher->CheckAutomaticLogin());
            waitForEnd(*m_fetcher);
            QCOMPARE(requests(), expectedRequests);
            QCOMPARE(heldToken(), token);
            QCOMPARE(m_owner->raised.contains(Event::TokenAvailable), !byThisProduct);
        });
        row("by another product", false, 2, "new-token");
        row("by this one", true, 1, "own-token");
    }

    // It may hold the token of another process, which a query would invalidate.
    void aQueryIsNotSentBeforeTheFileIsRead() {
        const TestKit::Rows row(this, [&](FileLook look, int expected) {
            play(TestKit::goodTokenReply());
            m_owner->look = look;
            query();
            QCOMPARE(requests(), 0);
            QCOMPARE(interval(), expected);
            if (interval() < 0)
                return;
            m_owner->look = FileLook::Read;
            fire(*m_fetcher);
            waitForEnd(*m_fetcher);
            QCOMPARE(heldToken(), QStringLiteral("new-token"));
        });
        row("it cannot be read", FileLook::Unread, 5 * second);
        row("the product is going away", FileLook::SignInGone, -1);
    }

    // Another process does not find it, and obtains a token that makes this one invalid.
    void aTokenThatIsNotInTheFileIsMarked() {
        play(TestKit::goodTokenReply());
        m_owner->storeResult = StoreResult::Unwritten;
        query();
        QVERIFY(m_owner->services().claims->makePendingRefresh("digest", m_fixture->folder.path())->isSet());
    }

    // The timer of a failed query fires after the user has signed in here.
    void aTimerOfAnEarlierSignInDoesNothing() {
        play(answer("503 Service Unavailable", ""));
        query();
        signInAgain(true);
        fire(*m_fetcher);
        waitForEnd(*m_fetcher);
        QCOMPARE(m_owner->raised, QVector<Event>());
        QVERIFY(!m_fixture->hasLogged("Token acquired in another process."));
        QCOMPARE(interval(), -1);
    }

    void oneProcessTriesAgainForAll() {
        const TestKit::Rows row(this, [&](const QByteArray& reply, bool isBusy, int dies, int tries, int givesUp) {
            play(reply, true, 50);
            std::vector<std::unique_ptr<OtherProcess>> processes;
            for (int number = 0; number < 3; ++number) {
                processes.push_back(std::make_unique<OtherProcess>(*m_fixture, m_flags));
                processes.back()->owner.storeResult = isBusy ? StoreResult::Busy : StoreResult::Stored;
                QVERIFY(processes.back()->fetcher.CheckAutomaticLogin());
            }
            for (int round = 1; round <= 12; ++round) {
                for (const auto& process : processes)
                    waitForEnd(process->fetcher);
                if (round == dies)
                    processes.erase(processes.begin());
                for (const auto& process : processes) {
                    process->owner.clock = process->owner.clock.addMSecs(5 * second);
                    if (WorkerFixture::interval(process->fetcher) != -1)
                        fireTimer(process->fetcher);
                }
            }
            QCOMPARE(requests(), tries);
            QCOMPARE(m_fixture->logger->count("Failed to login automatically using another product's"), givesUp);
            // The text names the tries after the first one.
            QCOMPARE(m_fixture->hasLogged("Failed to query token after 5 attempts. Giving up token query."), tries == 6);
            // Nothing of this hinders a later start of a product.
            play(TestKit::goodTokenReply());
            processes.front()->owner.storeResult = StoreResult::Stored;
            QVERIFY(processes.front()->fetcher.CheckAutomaticLogin());
            waitForEnd(processes.front()->fetcher);
            QVERIFY(processes.front()->owner.held.areComplete());
        });
        const QByteArray unavailable = answer("503 Service Unavailable", "");
        row("all live", unavailable, false, 0, 6, 1);
        row("one dies after its second try", unavailable, false, 2, 6, 1);
        row("a wrong clock", TestKit::problemReply("400 Bad Request", "message_expired"), false, 0, 6, 1);
        row("final refusal", TestKit::problemReply("400 Bad Request", "token_rejected"), false, 0, 1, 1);
        row("bad body", answer("200 OK", "<html></html>"), false, 0, 1, 0);
        row("cannot be stored", TestKit::goodTokenReply(), true, 0, 6, 1);
    }

    // It holds the lock and does nothing; when it is gone, the product signs in after all.
    void aHangingProcessDelaysTheSignInOnly() {
        play(TestKit::goodTokenReply());
        Util::ProcessGuard other("Velquor.WebServices.TokenQuery.digest", m_fixture->folder.path());
        QCOMPARE(other.acquire(0), Util::ProcessGuard::Result::Acquired);
        query();
        QVERIFY(m_fixture->hasLogged("in another process. Token query failed."));
        QCOMPARE(interval(), 5 * second);
        other.release();
        fire(*m_fetcher);
        waitForEnd(*m_fetcher);
        QCOMPARE(heldToken(), QStringLiteral("new-token"));
    }

    // The other process takes most of the time that one request may take, and then dies.
    void aCallerWaitsUntilTheQueryEnds() {
        play(TestKit::goodTokenReply(), true, 250);
        Util::ProcessGuard other("Velquor.WebServices.TokenQuery.digest", m_fixture->folder.path());
        QCOMPARE(other.acquire(0), Util::ProcessGuard::Result::Acquired);
        TokenOperations operations(*m_owner, std::make_unique<TestKit::FakeRequestFlags>(), "digest");
        QVERIFY(operations.checkAutomaticLogin());
        QTimer::singleShot(200, [&other] { other.release(); });
        operations.waitForTokenQuery();
        QVERIFY(!operations.isQueryInProgress());
        QVERIFY(m_fixture->hasLogged("Finished waiting for token query. Token query successful."));
    }

    void aQueryWorksWithoutLocks() {
        QVERIFY(m_fixture->folder.remove());
        makeFetcher();
        play(TestKit::goodTokenReply());
        query();
        QCOMPARE(heldToken(), QStringLiteral("new-token"));
    }

private:
    struct OtherProcess {
        OtherProcess(TestKit::SessionFixture& fixture, IRequestFlags& flags)
            : owner(fixture)
            , fetcher(owner, flags, "digest") {
            owner.held = {};
            owner.setTimeout(10000);
        }
        TestKit::FakeTokenOwner owner;
        TokenFetcher fetcher;
    };

    void makeFetcher() { m_fetcher = std::make_unique<TokenFetcher>(*m_owner, m_flags, "digest"); }
    [[nodiscard]] int interval() const { return WorkerFixture::interval(*m_fetcher); }
    void signInAgain(bool byThisProduct) {
        m_owner->signIns = 2;
        if (byThisProduct)
            m_owner->held = m_owner->tokensNamed("own-token", 3600);
    }
    void query() {
        QVERIFY(m_fetcher->CheckAutomaticLogin());
        waitForEnd(*m_fetcher);
    }

    std::unique_ptr<TokenFetcher> m_fetcher;
};

QTEST_GUILESS_MAIN(QueryFaultTest)
#include "QueryFaultTest.moc"
