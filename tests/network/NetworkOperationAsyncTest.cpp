#include "Network/NetworkOperationAsync.h"
#include "Network/RunGet.h"
#include "NetworkFixture.h"

#include <QTcpServer>
#include <QTcpSocket>

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;
using Velquor::TestKit::answer;
using Velquor::TestKit::LoopbackHttpServer;

/// Exchanges on a thread of their own: which signals come, when, and on which thread.
class NetworkOperationAsyncTest : public TestKit::NetworkFixture {
    Q_OBJECT

private Q_SLOTS:
    void init() { startOver(); }

    void repliesAndDownloadsAreDelivered() {
        const QTemporaryDir folder;
        NetworkOperationAsync post(request(), "POST", "body", m_logger);
        NetworkOperationAsync download(request(), m_logger);
        download.setDownloadFile(folder.filePath("new"));
        QSignalSpy postEnds(&post, &NetworkOperationAsync::RequestFinished);
        QSignalSpy downloadEnds(&download, &NetworkOperationAsync::RequestFinished);
        QVERIFY(post.Start());
        QVERIFY(download.Start());
        QTRY_COMPARE(postEnds.count() + downloadEnds.count(), 2);
        QCOMPARE(post.result(), OperationResult::Success);
        QCOMPARE(postEnds.first().first().value<QNetworkReply*>(), post.reply());
        QCOMPARE(post.reply()->readAll(), QByteArray("hello"));
        QCOMPARE(download.result(), OperationResult::Success);
        QCOMPARE(TestKit::readFile(folder.filePath("new")), QByteArray("hello"));
    }

    void aRunningExchangeIsNotStartedTwice() {
        m_server.setScript("/again", {answer("200 OK", "hello"), 0, 100, 0, true});
        NetworkOperationAsync operation(request("/again"), m_logger);
        QSignalSpy ends(&operation, &NetworkOperationAsync::RequestFinished);
        QVERIFY(operation.Start());
        QVERIFY(operation.Start());
        QTRY_COMPARE(ends.count(), 1);
        QVERIFY(operation.Start());
        QTRY_COMPARE(ends.count(), 2);
        QCOMPARE(operation.reply()->readAll(), QByteArray("hello"));
        QCOMPARE(m_server.count("/again"), 2);
    }

    void aDestroyedExchangeReportsItsEnd() {
        // asked: destroyed after the server was asked, or at once
        const TestKit::Rows row(this, [&](bool withBody, bool asked) {
            const QString path = QStringLiteral("/silent-%1-%2").arg(withBody).arg(asked);
            m_server.setScript(path, silence);
            // This thread runs no event loop, so that only the destructor can tell the end.
            int ends = 0;
            OperationResult result = OperationResult::NotFinished;
            QString message;
            std::thread([&] {
                auto operation = withBody ? std::make_unique<NetworkOperationAsync>(request(path), "POST", "body", m_logger)
                                          : std::make_unique<NetworkOperationAsync>(request(path), m_logger);
                NetworkOperationAsync* raw = operation.get();
                connect(raw, &NetworkOperationAsync::RequestFinished, raw, [&, raw] {
                    ++ends;
                    result = raw->result();
                    message = raw->errorMessage();
                });
                operation->Start();
                if (asked)
                    (void)m_server.waitForRequest(path);
            }).join();
            QCOMPARE(ends, 1);
            QCOMPARE(result, OperationResult::Canceled);
            QCOMPARE(message, QStringLiteral("Operation was canceled. Canceled by caller."));
        });
        row("GET", false, true);
        row("POST", true, true);
        row("GET, at once", false, false);
        row("POST, at once", true, false);
    }

    void aTimeOutKeepsWhatCameBefore() {
        const QByteArray bytes = answer("503 Service Unavailable", "slow", "x-vqs-reason-phrase: busy\r\n");
        m_server.setScript("/slow", {bytes, 0, 0, 30000, true, int(bytes.size()) - 2});
        const ExchangeOutcome outcome = runGet(request("/slow"), 1000, m_logger);
        QCOMPARE(outcome.result, OperationResult::Canceled);
        QCOMPARE(outcome.message, QStringLiteral("Operation was canceled. Timed out."));
        QCOMPARE(outcome.reply.status, 503);
        QCOMPARE(outcome.reply.networkError, QNetworkReply::OperationCanceledError);
        QCOMPARE(outcome.reply.problem.reasonPhrase, QStringLiteral("busy"));
        QVERIFY2(outcome.reply.dump.join('\n').contains("Service Unavailable"), qPrintable(outcome.reply.dump.join('\n')));
    }

    void selfSignedCertificateIsRefused() {
        LoopbackHttpServer tls(LoopbackHttpServer::Transport::SelfSignedTls);
        QVERIFY(!tls.certificate().isNull());
        tls.setScript(page, {answer("200 OK", "hello")});
        const ExchangeOutcome outcome = runGet(QNetworkRequest(tls.url(page)), 5000, m_logger);
        QCOMPARE(outcome.result, OperationResult::Failure);
        QCOMPARE(outcome.reply.networkError, QNetworkReply::SslHandshakeFailedError);
        QVERIFY(outcome.reply.body.isEmpty());
        QCOMPARE(tls.count(page), 0);
        const QString line = m_logger->texts(Log::Level::Error).value(0);
        QVERIFY2(line.startsWith("NetworkOperation::SslError: SelfSignedCertificate (9): "), qPrintable(line));
        const QByteArray thumbprint = tls.certificate().digest(QCryptographicHash::Sha1).toHex();
        const QString end = QStringLiteral("\nThumbprint (Sha1): %1\nBlacklisted: No\nSelf signed: Yes");
        QVERIFY2(line.endsWith(end.arg(QString::fromLatin1(thumbprint))), qPrintable(line));

        // The same server is accepted by a product that trusts its certificate.
        QNetworkRequest trusting(tls.url(page));
        QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
        configuration.setCaCertificates({tls.certificate()});
        trusting.setSslConfiguration(configuration);
        QCOMPARE(runGet(trusting, 5000, m_logger).reply.body, QByteArray("hello"));
    }

    // Qt 6 would. What the library reads of heads and connections is that of HTTP/1.1.
    void noServerIsAskedForHttp2() {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        NetworkOperationAsync operation(QNetworkRequest(QUrl(QStringLiteral("https://127.0.0.1:%1/").arg(server.serverPort()))),
                                        m_logger);
        QVERIFY(operation.Start());
        QVERIFY(server.waitForNewConnection(20000));
        QTcpSocket* const connection = server.nextPendingConnection();
        QVERIFY(connection->waitForReadyRead(20000));
        // The first message of TLS, which no server answers here, with each protocol's length before its name.
        const QByteArray hello = connection->readAll();
        QVERIFY(hello.startsWith("\x16\x03"));
        QVERIFY(!hello.contains("\x02h2"));
    }
};

QTEST_GUILESS_MAIN(NetworkOperationAsyncTest)
#include "NetworkOperationAsyncTest.moc"
