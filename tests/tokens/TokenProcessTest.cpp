// Many processes of one user whose token expires at the same moment: one of them does the work for all.

#include "TestKit/ServiceTest.h"
#include "TestKit/TokenHelper.h"

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;
using TestKit::secondKey;
using TestKit::secondSecret;
using TestKit::TokenHelper;

namespace {

constexpr int processCount = 8;
constexpr int threadCount = 4;

} // namespace

class TokenProcessTest : public TestKit::ServiceTest {
    Q_OBJECT

private slots:
    void init() {
        startOver();
        const auto session = m_fixture->makeSession();
        signIn(*session);
    }

    void cleanup() { m_helpers.clear(); }

    void oneRefreshForAll() {
        startAll(key, secret);
        const int rounds = TestKit::rounds(5, 50);
        for (int round = 1; round <= rounds; ++round) {
            const int before = requests();
            const QStringList tokens = askAll(3601 * round);
            QCOMPARE(tokens.size(), 1);
            QVERIFY(!tokens.first().isEmpty());
            QCOMPARE(requests() - before, 1);
        }
        TestKit::figure("longest wait of 8 processes with 4 threads for an expired token", "one refresh a round, < 5 s",
                        QStringLiteral("%1 ms (%2 rounds)").arg(m_longest).arg(rounds));
        QVERIFY2(!TestKit::isSoak() || m_longest < 5000, qPrintable(QString::number(m_longest)));
    }

    void oneQueryForAll() {
        const int before = requests();
        startAll(secondKey, secondSecret);
        const QStringList tokens = askAll(0);
        QCOMPARE(tokens.size(), 1);
        QVERIFY(!tokens.first().isEmpty());
        QCOMPARE(requests() - before, 1);
    }

    // For each kind of token one query, and one refresh when all of them find it expired.
    void oneOAuth2RequestForAll() {
        const TestKit::Rows row(this, [&](const QString& spec) {
            startAll(key, secret);
            // The OAuth 1.0 token has expired too by then, and is renewed on the way, once as well.
            for (const qint64 offset : {0, 3601}) {
                const int before = oauth2Requests();
                const int tokensBefore = requests();
                const QStringList tokens = askAll(offset, QStringLiteral("ask-oauth2 %1 %2 ") + spec);
                QCOMPARE(tokens.size(), 1);
                QVERIFY(!tokens.first().isEmpty());
                QCOMPARE(oauth2Requests() - before, 1);
                QCOMPARE(requests() - tokensBefore, offset > 0 ? 1 : 0);
            }
        });
        row("RT", "RT data");
        row("JWT", "JWT data");
    }

    void aKilledRefreshIsDoneByAnother() {
        start(key, secret, 2);
        delay("access-token", 1500);
        m_helpers[0]->tell("refresh");
        QVERIFY(m_helpers[0]->answer().value("started").toBool());
        QTest::qWait(300);
        m_helpers[1]->tell("ask 4 3601");
        m_helpers[0]->kill();
        const TestKit::Stopwatch timer;
        const QJsonObject answer = m_helpers[1]->answer();
        QVERIFY2(!TestKit::isSoak() || timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
        for (const QJsonValue& token : answer.value("tokens").toArray())
            QVERIFY(!token.toString().isEmpty());
        m_helpers[1]->tell("status");
        QVERIFY(m_helpers[1]->answer().value("loggedIn").toBool());
    }

private:
    void start(const QString& consumerKey, const QString& consumerSecret, int count) {
        for (int process = 0; process < count; ++process)
            m_helpers.push_back(std::make_unique<TokenHelper>(*m_fixture, m_service, consumerKey, consumerSecret));
        for (const auto& helper : m_helpers)
            QVERIFY(helper->answer().value("ready").toBool());
    }

    void startAll(const QString& consumerKey, const QString& consumerSecret) { start(consumerKey, consumerSecret, processCount); }

    /// Lets every thread of every process ask at once; the different tokens that they were given.
    QStringList askAll(qint64 clockOffset, const QString& command = QStringLiteral("ask %1 %2")) {
        for (const auto& helper : m_helpers)
            helper->tell(command.arg(threadCount).arg(clockOffset));
        QStringList tokens;
        for (const auto& helper : m_helpers) {
            const QJsonObject answer = helper->answer();
            if (answer.value("tokens").toArray().size() != threadCount)
                tokens += QStringLiteral("no answer");
            for (const QJsonValue& token : answer.value("tokens").toArray())
                tokens += token.toString();
            m_longest = qMax(m_longest, static_cast<qint64>(answer.value("longest").toDouble()));
        }
        tokens.removeDuplicates();
        return tokens;
    }

    int oauth2Requests() { return m_service.requests("oauth2-token"); }
    int requests() { return m_service.requests("access-token"); }

    std::vector<std::unique_ptr<TokenHelper>> m_helpers;
    qint64 m_longest = 0;
};

QTEST_GUILESS_MAIN(TokenProcessTest)
#include "TokenProcessTest.moc"
