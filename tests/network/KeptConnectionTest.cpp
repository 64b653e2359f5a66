// A connection that was used once is used again, and never by a request that must not use it.

#include "Network/NetworkOperationAsync.h"
#include "Network/NetworkThreads.h"
#include "Network/RunGet.h"
#include "NetworkFixture.h"

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;
using Velquor::TestKit::answer;
using Velquor::TestKit::LoopbackHttpServer;
using Velquor::TestKit::Script;

class KeptConnectionTest : public TestKit::NetworkFixture {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        startOver();
        NetworkThreads::instance().open();
        m_server.setScript(page, stayingOpen(answer("200 OK", "hello", "Set-Cookie: who=ada\r\n")));
    }
    void cleanup() { NetworkThreads::instance().close(); }

    void requestsThatFollowEachOtherShareIt() {
        for (const QByteArray agent : {"first", "second", "third"}) {
            QNetworkRequest named = request();
            named.setRawHeader("User-Agent", agent);
            QCOMPARE(runGet(named, 5000, m_logger).reply.body, QByteArray("hello"));
        }
        // From a thread of another kind, and by another form of request.
        std::thread([this] { QVERIFY(runGet(request(), 5000, m_logger).hasStatus200()); }).join();
        NetworkOperationAsync operation(request(), m_logger);
        QSignalSpy ends(&operation, &NetworkOperationAsync::RequestFinished);
        for (int round = 1; round <= 3; ++round) {
            QVERIFY(operation.Start());
            QTRY_COMPARE(ends.count(), round);
        }
#ifndef __SANITIZE_THREAD__ // That slow, the framework opens another connection beside the idle one now and then.
        QCOMPARE(connections(page).size(), 1);
#endif
        for (const TestKit::ReceivedRequest& received : m_server.requests(page))
            QVERIFY(!received.head.contains("Cookie"));
    }

    void requestsAtTheSameTimeHaveTheirOwn() {
        m_server.setScript("/slow", {answer("200 OK", "slow"), 0, 30000, 0, false});
        NetworkOperationAsync slow(request("/slow"), m_logger);
        QSignalSpy ends(&slow, &NetworkOperationAsync::RequestFinished);
        QVERIFY(slow.Start());
        QVERIFY(m_server.waitForRequest("/slow"));
        QVERIFY(runGet(request(), 5000, m_logger).hasStatus200());
        QCOMPARE(ends.count(), 0);
        QVERIFY((connections(page) & connections("/slow")).isEmpty());
    }

    void someRequestsGetANewOne() {
        // what the first answer or the second request is like
        const TestKit::Rows row(this, [&](const Script& first, const QString& verb, int idleMs) {
            NetworkThreads::instance().open(idleMs);
            m_server.setScript("/first", first);
            (void)runGet(request("/first"), 5000, m_logger);
            QThread::msleep(idleMs < 100 ? 200 : 20);
            NetworkOperationAsync operation(request(), verb, {}, m_logger);
            QSignalSpy ends(&operation, &NetworkOperationAsync::RequestFinished);
            QVERIFY(operation.Start());
            QTRY_COMPARE(ends.count(), 1);
            QCOMPARE(operation.reply()->readAll(), QByteArray("hello"));
            QVERIFY((connections("/first") & connections(page)).isEmpty());
        });
        row("a verb that must not be sent twice", stayingOpen(answer("200 OK", "x")), "POST", 20000);
        row("after a refusal", stayingOpen(answer("401 Unauthorized", "x", "WWW-Authenticate: Basic realm=\"r\"\r\n")), "GET",
            20000);
        row("after the end by the server", Script{answer("200 OK", "x")}, "GET", 20000);
        row("after a long time", stayingOpen(answer("200 OK", "x")), "GET", 20);
    }

    void aConnectionIsNotSharedWithARequestThatDoesNotTrustIt() {
        LoopbackHttpServer tls(LoopbackHttpServer::Transport::SelfSignedTls);
        tls.setScript(page, stayingOpen(answer("200 OK", "hello")));
        QNetworkRequest trusting(tls.url(page));
        QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
        configuration.setCaCertificates({tls.certificate()});
        trusting.setSslConfiguration(configuration);
        QVERIFY(runGet(trusting, 5000, m_logger).hasStatus200());
        QCOMPARE(runGet(QNetworkRequest(tls.url(page)), 5000, m_logger).reply.networkError,
                 QNetworkReply::SslHandshakeFailedError);
        QVERIFY(runGet(trusting, 5000, m_logger).hasStatus200());
        QCOMPARE(tls.count(page), 2);
    }

    void anAnswerThatIsCutOffIsAFailure() {
        const TestKit::Rows row(this, [&](const QByteArray& bytes) {
            m_server.setScript("/cut", {bytes, 0, 0, 20, true, int(bytes.size()) - 1});
            for (int round = 0; round < 10; ++round) {
                QVERIFY(runGet(request(), 5000, m_logger).hasStatus200());
                const ExchangeOutcome outcome = runGet(request("/cut"), 5000, m_logger);
                QVERIFY2(!outcome.hasStatus200(), outcome.reply.body.constData());
            }
        });
        row("before its length", "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\ndata");
        row("in its head", "HTTP/1.1 200 OK\r\nContent-Len");
    }

private:
    static Script stayingOpen(const QByteArray& bytes) {
        return {bytes, 0, 0, 0, false};
    }

    [[nodiscard]] QSet<int> connections(const QString& path) const {
        QSet<int> found;
        for (const TestKit::ReceivedRequest& received : m_server.requests(path))
            found += received.connection;
        return found;
    }
};

QTEST_GUILESS_MAIN(KeptConnectionTest)
#include "KeptConnectionTest.moc"
