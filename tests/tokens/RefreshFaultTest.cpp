// A network that fails again and again, servers that refuse, a machine that sleeps: when a refresh is tried again, to the
// millisecond of a clock that the test sets, and that nothing is lost meanwhile.

#include "FakeTokenOwner.h"
#include "TestKit/LoopbackHttpServer.h"
#include "Tokens/TokenRefresher.h"

#include <QSignalSpy>
#include <QTcpServer>
#include <QtTest>

using namespace Velquor;
using namespace Velquor::WebServices;
using TestKit::answer;

namespace {

constexpr int second = 1000;
constexpr int minute = 60 * second;

QByteArray goodReply() {
    return answer("200 OK",
                  "oauth_token=new-token&oauth_token_secret=new-secret&oauth_session_handle=new-handle&oauth_expires_in=3600"
                  "&oauth_authorization_expires_in=86400");
}

QByteArray refusal(const QByteArray& status, const QByteArray& problem) {
    return answer(status, {}, "xoauth_problem: " + problem + "\r\n");
}

} // namespace

class RefreshFaultTest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_refresher.reset(); }
    void twentyFaultsOfTheNetwork();
    void refusals_data();
    void refusals();
    void theMachineSlept();

private:
    /// Where the next request goes: the scripted server, unless another address is given.
    void pointTo(const QString& address) {
        m_fixture->urls.SetUrlOverrides(Production, {{QStringLiteral("AccountServerUrl"), address},
                                                     {QStringLiteral("AccessTokenEndPoint"), QStringLiteral("/access")}});
    }
    void play(const QByteArray& bytes, bool close = true) {
        m_server->setScript(QStringLiteral("/access"), {bytes, 0, 0, 0, close});
        pointTo(m_server->url({}).toString());
    }
    void fail(int kind);
    [[nodiscard]] QTimer* timer() const { return m_refresher->findChild<QTimer*>(QString(), Qt::FindDirectChildrenOnly); }
    /// The milliseconds to the next attempt; -1: there is none.
    [[nodiscard]] int interval() const { return timer()->isActive() ? timer()->interval() : -1; }
    /// Sets the clock to the time of the next attempt and more, lets the timer fire, and waits for the end of a refresh.
    void passTime(qint64 moreMs = 0) {
        m_owner->clock = m_owner->clock.addMSecs(interval() + moreMs);
        timer()->stop();
        QSignalSpy finished(m_refresher.get(), &TokenRefresher::RefreshFinishedInternal);
        QVERIFY(QMetaObject::invokeMethod(timer(), "timeout"));
        QVERIFY(finished.count() > 0 || finished.wait(10000));
    }

    std::unique_ptr<TestKit::SessionFixture> m_fixture;
    std::unique_ptr<TestKit::LoopbackHttpServer> m_server;
    std::unique_ptr<TestKit::FakeTokenOwner> m_owner;
    std::unique_ptr<RefreshController> m_controller;
    TestKit::NoRequestFlags m_flags;
    std::unique_ptr<TokenRefresher> m_refresher;
};

void RefreshFaultTest::init() {
    m_fixture = std::make_unique<TestKit::SessionFixture>();
    m_server = std::make_unique<TestKit::LoopbackHttpServer>();
    m_owner = std::make_unique<TestKit::FakeTokenOwner>(*m_fixture);
    m_controller = std::make_unique<RefreshController>(QStringLiteral("digest"), m_fixture->folder.path(), m_owner->productKey(), m_fixture->logger);
    m_refresher = std::make_unique<TokenRefresher>(*m_owner, *m_controller, m_flags, std::make_shared<RunState>(),
                                                   LostAnswerMark(QStringLiteral("digest"), m_fixture->folder.path()));
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
    default: return play(goodReply().chopped(20));
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
    play(goodReply());
    passTime();
    QCOMPARE(m_fixture->cryptor->decrypt(m_owner->held.accessToken).toText(), QStringLiteral("new-token"));
    QCOMPARE(interval(), 10 * minute);
}

void RefreshFaultTest::refusals_data() {
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QVector<int>>("intervals"); // then the user is signed out
    const QVector<int> minutes{minute, minute, minute, minute};
    const QVector<int> clock{2 * second, 2 * second, minute, minute};
    QTest::newRow("503") << answer("503 Service Unavailable", "") << minutes;
    QTest::newRow("404") << answer("404 Not Found", "<html></html>") << minutes;
    QTest::newRow("401") << refusal("401 Unauthorized", "token_rejected") << minutes;
    QTest::newRow("401, clock") << refusal("401 Unauthorized", "message_expired") << clock;
    QTest::newRow("400, clock") << refusal("400 Bad Request", "message_expired") << clock;
    QTest::newRow("400") << refusal("400 Bad Request", "token_rejected") << QVector<int>();
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
    QCOMPARE(m_server->count(QStringLiteral("/access")), intervals.size() + 1);
}

// The timer comes hours late: one refresh, at once, and none again for who finds the token fresh after that.
void RefreshFaultTest::theMachineSlept() {
    m_owner->held.expiryDate = m_owner->clock.addSecs(2 * 3600);
    m_refresher->LoggedIn();
    QCOMPARE(interval(), 60 * minute);
    play(goodReply());
    passTime(9 * 60LL * minute);
    QCOMPARE(m_server->count(QStringLiteral("/access")), 1);
    QVERIFY(m_fixture->hasLogged(
        QStringLiteral("Token refresh timer message arrived 9 h late. Timer message was expected at 2030-05-01T13:00:00Z")));
    QVERIFY(m_fixture->hasLogged(QStringLiteral("Token refresh timer message: Token has expired. Time to refresh now.")));
    QCOMPARE(interval(), 10 * minute);
    QCOMPARE(m_refresher->ask(true, RefreshWorker::Reason::Expired), RefreshWorker::Answer::Started);
    QTest::qWait(50);
    QCOMPARE(m_server->count(QStringLiteral("/access")), 1);
    QCOMPARE(interval(), 10 * minute);
}

QTEST_GUILESS_MAIN(RefreshFaultTest)
#include "RefreshFaultTest.moc"
