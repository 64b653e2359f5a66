// A network that fails again and again, servers that refuse, a machine that sleeps: when a refresh is tried again, to the
// millisecond of a clock that the test sets, and that nothing is lost meanwhile.

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
    void init();
    void cleanup() { m_refresher.reset(); }
    void twentyFaultsOfTheNetwork();
    void refusals_data();
    void refusals();
    void theMachineSlept();
    void newsBetweenTries_data();
    void newsBetweenTries();
    void anotherTokenInTheFile_data();
    void anotherTokenInTheFile();
    void tokensThatCannotBeStoredYet();
    void withoutLocks();

private:
    void makeRefresher(const QString& lockFolder);
    void fail(int kind);
    [[nodiscard]] int interval() const { return WorkerFixture::interval(*m_refresher); }
    /// The next attempt, to its end.
    void passTime(qint64 moreMs = 0) {
        fire(*m_refresher, moreMs);
        waitForEnd(*m_refresher);
    }

    std::unique_ptr<RefreshController> m_controller;
    std::unique_ptr<TokenRefresher> m_refresher;
};

void RefreshFaultTest::init() {
    beginAnew();
    makeRefresher(m_fixture->folder.path());
}

void RefreshFaultTest::makeRefresher(const QString& lockFolder) {
    m_refresher.reset();
    m_controller =
        std::make_unique<RefreshController>(QStringLiteral("digest"), lockFolder, m_owner->productKey(), m_fixture->logger);
    m_refresher = std::make_unique<TokenRefresher>(*m_owner, *m_controller, m_flags, std::make_shared<RunState>(),
                                                   PendingRefreshFile(QStringLiteral("digest"), m_fixture->folder.path()));
    m_owner->held.expiryDate = m_owner->clock.addSecs(301);
    m_refresher->LoggedIn();
    QCOMPARE(interval(), second);
}

void RefreshFaultTest::fail(int kind) {
    switch (kind % 5) {
    case 0: return play({}, false); // until the time is over
    case 1: return pointTo(QStringLiteral("http://no-such-host.invalid"));
    case 2:
        return play(
            answer("200 OK", "<html><body>Welcome to our network. Please sign in.</body></html>", "Content-Type: text/html\r\n"));
    case 3: {
        QTcpServer closed;
        QVERIFY(closed.listen(QHostAddress::LocalHost));
        return pointTo(QStringLiteral("http://127.0.0.1:%1").arg(closed.serverPort()));
    }
    default: return play(TestKit::goodTokenReply().chopped(20));
    }
}

void RefreshFaultTest::twentyFaultsOfTheNetwork() {
    const ProductTokens before = m_owner->held;
    for (int fault = 0; fault < 20; ++fault) {
        fail(fault);
        passTime();
        QCOMPARE(interval(), minute);
        QCOMPARE(m_owner->held.accessToken, before.accessToken);
        QCOMPARE(m_owner->held.expiryDate, before.expiryDate);
    }
    QCOMPARE(m_owner->forcedLogouts, 0);
    QVERIFY(!m_fixture->hasLogged(QStringLiteral("Token refresh timer message arrived")));
    play(TestKit::goodTokenReply());
    passTime();
    QCOMPARE(heldToken(), QStringLiteral("new-token"));
    QCOMPARE(interval(), 10 * minute);
}

void RefreshFaultTest::refusals_data() {
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QVector<int>>("intervals"); // then the user is signed out
    const QVector<int> minutes{minute, minute, minute, minute};
    const QVector<int> clock{2 * second, 2 * second, minute, minute};
    QTest::newRow("503") << answer("503 Service Unavailable", "") << minutes;
    QTest::newRow("404") << answer("404 Not Found", "<html></html>") << minutes;
    QTest::newRow("401") << TestKit::problemReply("401 Unauthorized", "token_rejected") << minutes;
    QTest::newRow("401, clock") << TestKit::problemReply("401 Unauthorized", "message_expired") << clock;
    QTest::newRow("400, clock") << TestKit::problemReply("400 Bad Request", "message_expired") << clock;
    QTest::newRow("400") << TestKit::problemReply("400 Bad Request", "token_rejected") << QVector<int>();
}

void RefreshFaultTest::refusals() {
    QFETCH(QByteArray, reply);
    QFETCH(QVector<int>, intervals);
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
}

// The timer comes hours late: one refresh, at once, and none again for who finds the token fresh after that.
void RefreshFaultTest::theMachineSlept() {
    m_owner->held.expiryDate = m_owner->clock.addSecs(2 * 3600);
    m_refresher->LoggedIn();
    QCOMPARE(interval(), 60 * minute);
    play(TestKit::goodTokenReply());
    passTime(9 * 60LL * minute);
    QCOMPARE(requests(), 1);
    QVERIFY(m_fixture->hasLogged(
        QStringLiteral("Token refresh timer message arrived 9 h late. Timer message was expected at 2030-05-01T13:00:00Z")));
    QVERIFY(m_fixture->hasLogged(QStringLiteral("Token refresh timer message: Token has expired. Time to refresh now.")));
    QCOMPARE(interval(), 10 * minute);
    QCOMPARE(m_refresher->ask(true, RefreshWorker::Reason::Expired), RefreshWorker::Answer::Started);
    QTest::qWait(50);
    QCOMPARE(requests(), 1);
    QCOMPARE(interval(), 10 * minute);
}

void RefreshFaultTest::newsBetweenTries_data() {
    QTest::addColumn<bool>("isAnother");
    QTest::addColumn<int>("tries"); // until the user is signed out
    QTest::newRow("of other things") << false << 5;
    QTest::newRow("another token") << true << 9;
}

// Four refusals, the news, and refusals again: news bring no try forward, but the failures of a token that has gone do not count.
void RefreshFaultTest::newsBetweenTries() {
    QFETCH(bool, isAnother);
    QFETCH(int, tries);
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
}

void RefreshFaultTest::anotherTokenInTheFile_data() {
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("tries");
    QTest::addColumn<int>("look");
    QTest::addColumn<int>("requestsSent");
    QTest::newRow("before the request") << TestKit::problemReply("400 Bad Request", "token_rejected") << 1 << 1 << 0;
    QTest::newRow("by the time of the refusal") << TestKit::problemReply("400 Bad Request", "token_rejected") << 1 << 2 << 1;
    QTest::newRow("by the fifth failure") << answer("503 Service Unavailable", "") << 5 << 6 << 5;
}

// It ends before the one that it replaces: the clock that both were dated by has been put right since.
void RefreshFaultTest::anotherTokenInTheFile() {
    QFETCH(QByteArray, reply);
    QFETCH(int, tries);
    QFETCH(int, look);
    QFETCH(int, requestsSent);
    play(reply);
    m_owner->held.expiryDate = m_owner->clock.addSecs(301);
    m_owner->putIntoFile(m_owner->tokensNamed("another", 300), look);
    for (int attempt = 0; attempt < tries; ++attempt)
        passTime();
    QCOMPARE(m_owner->forcedLogouts, 0);
    QCOMPARE(heldToken(), QStringLiteral("another"));
    QCOMPARE(requests(), requestsSent);
    QCOMPARE(interval(), 2 * second);
}

// A host's code may hold the login state for long; the sign-in goes on all the time.
void RefreshFaultTest::tokensThatCannotBeStoredYet() {
    play(TestKit::goodTokenReply());
    m_owner->storeResult = StoreResult::Busy;
    passTime();
    QCOMPARE(interval(), minute);
    QCOMPARE(heldToken(), QStringLiteral("token"));
    m_owner->storeResult = StoreResult::Stored;
    passTime();
    QCOMPARE(heldToken(), QStringLiteral("new-token"));
    QCOMPARE(interval(), 10 * minute);
}

void RefreshFaultTest::withoutLocks() {
    makeRefresher(m_fixture->folder.filePath(QStringLiteral("missing")));
    play(TestKit::goodTokenReply());
    passTime();
    QCOMPARE(heldToken(), QStringLiteral("new-token"));
}

QTEST_GUILESS_MAIN(RefreshFaultTest)
#include "RefreshFaultTest.moc"
