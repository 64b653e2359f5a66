#include "Network/NetworkOperation.h"
#include "Network/NetworkOperationAsync.h"
#include "Network/RunGet.h"
#include "Network/UserAgent.h"
#include "NetworkFixture.h"

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;
using Velquor::TestKit::answer;
using Velquor::TestKit::LoopbackHttpServer;
using Velquor::TestKit::Script;

namespace {

QString get() {
    return QStringLiteral("GET");
}

} // namespace

/// Exchanges with a scripted server on loopback: verbs, faults, time limits, cancellation, lifetimes.
class NetworkOperationTest : public TestKit::NetworkFixture {
    Q_OBJECT

private Q_SLOTS:
    void init() { startOver(); }

    void eachVerbSendsItsBody() {
        const TestKit::Rows row(this, [&](const QString& verb, const QByteArray& sent, QNetworkAccessManager::Operation kind,
                                          int uploaded, const QByteArray& body) {
            const QString path = QStringLiteral("/verb-") + verb;
            const QByteArray whole = answer("200 OK", "hello");
            m_server.setScript(path, {sent == "HEAD" ? whole.left(whole.indexOf("hello")) : whole, 0, 0, 0, sent != "HEAD"});
            QBuffer upload;
            upload.setData(QByteArray(100000, 'u'));
            upload.open(QIODevice::ReadOnly);
            NetworkOperation operation(nullptr, m_logger);
            sendAndWait(operation, request(path), verb, &upload);
            QCOMPARE(operation.result(), OperationResult::Success);
            QCOMPARE(operation.errorMessage(), QString());
            QCOMPARE(operation.reply()->operation(), kind);
            QCOMPARE(operation.reply()->readAll(), body);
            QCOMPARE(m_server.requests(path).value(0).verb, sent);
            QCOMPARE(int(m_server.requests(path).value(0).body.size()), uploaded);
        });
        const QByteArray body = "hello";
        row("GET", "GET", "GET", QNetworkAccessManager::GetOperation, 0, body);
        row("get", "get", "GET", QNetworkAccessManager::GetOperation, 0, body);
        row("HEAD", "HEAD", "HEAD", QNetworkAccessManager::HeadOperation, 0, {});
        for (const char* verb : {"POST", "PUT", "DELETE"}) {
            row(verb, QString::fromLatin1(verb), QByteArray(verb), QNetworkAccessManager::CustomOperation, 100000, body);
        }
    }

    void userAgentOfTheRequestWins() {
        setUserAgent("Velquor/1 (gr\u00FCn)\r\nX-Forged: 1");
        m_server.setScript("/agent", {answer("200 OK", "")});
        QNetworkRequest named = request("/agent");
        (void)runGet(named, 5000, m_logger);
        named.setRawHeader("User-Agent", "Mine/2");
        (void)runGet(named, 5000, m_logger);
        setUserAgent(QString());
        const auto requests = m_server.requests("/agent");
        QVERIFY(requests.value(0).head.contains("User-Agent: Velquor/1 (gr\xC3\xBCn)X-Forged: 1\r\n"));
        QVERIFY(requests.value(1).head.contains("User-Agent: Mine/2\r\n"));
        QVERIFY(!requests.value(1).head.contains("Velquor"));
    }

    void neitherRedirectsNorCompressionAreAccepted() {
        m_server.setScript("/moved", {answer("302 Found", "", "Location: /target\r\n")});
        QNetworkRequest eager = request("/moved");
        eager.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
        const ExchangeOutcome outcome = runGet(eager, 5000, m_logger);
        QCOMPARE(outcome.result, OperationResult::Success);
        QCOMPARE(outcome.reply.status, 302);
        QCOMPARE(outcome.reply.header("location"), QByteArray("/target"));
        QCOMPARE(m_server.count("/target"), 0);
        QVERIFY(m_server.requests("/moved").value(0).head.contains("Accept-Encoding: identity"));
    }

    void malformedRequestsAreNotSent() {
        const TestKit::Rows row(this, [&](const QString& url, const QString& verb, const QByteArray& header) {
            QNetworkRequest bad{QUrl(url)};
            if (!header.isEmpty())
                bad.setRawHeader("X-Value", header);
            NetworkOperation operation(nullptr, m_logger);
            QSignalSpy ends(&operation, &NetworkOperation::RequestFinished);
            QVERIFY(!operation.Send(bad, verb, nullptr, 5000));
            QCOMPARE(ends.count(), 1);
            QCOMPARE(operation.result(), OperationResult::Failure);
            QCOMPARE(m_logger->texts(Log::Level::Error), QStringList{operation.errorMessage()});
            QCOMPARE(m_server.count("/refused"), 0);
            sendAndWait(operation, request(), get(), nullptr);
            QCOMPARE(operation.result(), OperationResult::Success);
        });
        const QString good = m_server.url("/refused").toString();
        row("empty", {}, "GET", {});
        row("file", "file:///etc/hostname", "GET", {});
        row("ftp", "ftp://127.0.0.1/x", "GET", {});
        row("no host", "http:///x", "POST", {});
        row("port", "http://127.0.0.1:65536/", "GET", {});
        row("verb", good, "GET /x HTTP/1.1\r\nX: 1", {});
        row("header", good, "POST", "1\r\nX-Forged: 1");
    }

    void faultsOfTheServerAreNamed() {
        const TestKit::Rows row(this, [&](const QByteArray& bytes, const QString& message) {
            m_server.setScript(page, {bytes});
            const ExchangeOutcome outcome = runGet(request(), 5000, m_logger);
            QCOMPARE(outcome.result, OperationResult::Failure);
            QCOMPARE(outcome.message, message);
            QVERIFY(!outcome.reply.isNull);
            QVERIFY(outcome.reply.networkError != QNetworkReply::NoError);
        });
        row("close before answer", "", faultText(2, 0, {}));
        row("garbage", "\x01\x02 garbage\r\n\r\n", faultText(2, 0, {}));
        row("short body", "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n{\"a\":1}", faultText(2, 200, "OK"));
        row("refused", answer("401 Nope", "", "xoauth_problem: nonce_used\r\nx-vqs-reason-phrase: gr\xC3\xBCn\r\n"),
            faultText(204, 401, "Nope", "gr\xC3\xBCn", "nonce_used"));
        row("basic challenge", answer("401 Unauthorized", "", "WWW-Authenticate: Basic realm=\"r\"\r\n"),
            faultText(204, 401, "Unauthorized"));
        row("unavailable", answer("503 Service Unavailable", "later"), faultText(403, 503, "Service Unavailable"));
    }

    void slowAnswersEndAtTheTimeLimit() {
        const TestKit::Rows row(this, [&](const Script& script) {
            m_server.setScript(page, script);
            const TestKit::Stopwatch elapsed;
            const ExchangeOutcome outcome = runGet(request(), 200, m_logger);
            QVERIFY2(elapsed.elapsed() < TestKit::limitMs(1200), qPrintable(QString::number(elapsed.elapsed())));
            QCOMPARE(outcome.result, OperationResult::Canceled);
            QCOMPARE(outcome.message, QStringLiteral("Operation was canceled. Timed out."));
        });
        row("no answer", silence);
        row("late answer", Script{answer("200 OK", "x"), 0, 60000, 0, true});
        row("dripping head", Script{answer("200 OK", "x", QByteArray(1200, 'x') + "\r\n"), 0, 0, 50, true});
        row("half a body", Script{"HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nx", 0, 0, 0, false});
    }

    void theSizeOfABodyIsBounded() {
        const TestKit::Rows row(this, [&](qint64 size, bool fits) {
            m_server.setScript(page, {"HTTP/1.1 200 OK\r\n\r\n", size});
            const ExchangeOutcome outcome = runGet(request(), 20000, m_logger);
            QCOMPARE(outcome.result, fits ? OperationResult::Success : OperationResult::Failure);
            QCOMPARE(outcome.message, fits ? QString() : QStringLiteral("Reply body is larger than 4194304 bytes"));
            QCOMPARE(qint64(outcome.reply.body.size()), fits ? size : 0);
        });
        row("limit", 4194304, true);
        row("one more", 4194305, false);
        row("far more", 60000000, false);
    }

    void aBodyIsSentOnce() {
        const TestKit::Rows row(this, [&](QByteArray body) {
            const QString once = QStringLiteral("/once%1").arg(body.size());
            m_server.setScript(once, Script{});
            QBuffer upload(&body);
            upload.open(QIODevice::ReadOnly);
            NetworkOperation operation(nullptr, m_logger);
            sendAndWait(operation, request(once), "POST", &upload);
            QCOMPARE(operation.result(), OperationResult::Failure);
            QCOMPARE(m_server.count(once), 1);
        });
        row("small", "oauth_token=1");
        row("empty", {});
        row("large", QByteArray(300000, 'u'));
    }

    void cancellingEndsAnExchangeOnce() {
        m_server.setScript(page, silence);
        const auto controller = std::make_shared<ICancelController>();
        NetworkOperation operation(controller, m_logger);
        QSignalSpy ends(&operation, &NetworkOperation::RequestFinished);
        operation.AbortOperation();
        QCOMPARE(ends.count(), 0);
        operation.Send(request(), get(), nullptr, 0);
        // The message must be complete when the end is signalled.
        QString told;
        connect(&operation, &NetworkOperation::RequestFinished, this, [&] { told = operation.errorMessage(); });
        Q_EMIT controller->Canceled();
        Q_EMIT controller->Canceled();
        QCOMPARE(ends.count(), 1);
        QCOMPARE(operation.result(), OperationResult::Canceled);
        QCOMPARE(told, QStringLiteral("Operation was canceled. Canceled by caller."));

        std::thread other;
        QTimer::singleShot(50, this, [&] { other = std::thread([controller] { Q_EMIT controller->Canceled(); }); });
        const ExchangeOutcome outcome = runGet(request(), 5000, m_logger, controller);
        other.join();
        QCOMPARE(outcome.result, OperationResult::Canceled);
        QCOMPARE(outcome.message, told);
    }

    void oneRequestAtATime() {
        m_server.setScript(page, silence);
        NetworkOperation operation(nullptr, m_logger);
        QNetworkReply* first = operation.Send(request(), get(), nullptr, 0);
        QVERIFY(first);
        QVERIFY(!operation.Send(request("/second"), get(), nullptr, 0));
        operation.StartOperation(request("/second"), "POST", "body", 0, nullptr);
        QCOMPARE(operation.reply(), first);
        QCOMPARE(operation.verb(), get());
        QVERIFY(m_server.waitForRequest(page));
        QCOMPARE(m_server.count("/second"), 0);
    }

    void startsAgainFromInsideTheEnd() {
        m_server.setScript("/silent", silence);
        NetworkOperation operation(nullptr, m_logger);
        QList<OperationResult> results;
        connect(&operation, &NetworkOperation::RequestFinished, this, [&] {
            results += operation.result();
            if (results.size() == 1)
                operation.Send(request(), get(), nullptr, 5000);
        });
        operation.Send(request("/silent"), get(), nullptr, 100);
        QTRY_COMPARE(results, (QList<OperationResult>{OperationResult::Canceled, OperationResult::Success}));
        QCOMPARE(operation.reply()->readAll(), QByteArray("hello"));
    }

    void destroyedInsideTheEnd() {
        const TestKit::Rows row(this, [&](const Script& script) {
            m_server.setScript(page, script);
            QPointer<NetworkOperation> operation(new NetworkOperation(nullptr, m_logger));
            connect(operation, &NetworkOperation::RequestFinished, this, [&] { delete operation; });
            QVERIFY(operation->Send(request(), get(), nullptr, 100));
            QTRY_VERIFY(!operation);
        });
        row("answered", Script{answer("200 OK", "x")});
        row("timed out", silence);
    }

    void anOperationEndsTheThreadItWasGiven() {
        QThread thread;
        auto* operation = new NetworkOperation(nullptr, m_logger);
        operation->moveToThread(&thread);
        connect(&thread, &QThread::finished, operation, &QObject::deleteLater);
        thread.start();
        QMetaObject::invokeMethod(operation, [&] { operation->StartOperation(request(), "POST", "body", 5000, &thread); });
        QVERIFY(thread.wait(5000));
        QCOMPARE(m_server.requests(page).last().body, QByteArray("body"));
    }

    void theLogShowsNoSecret() {
        m_server.setScript(page, {answer("400 Bad Request", "oauth_token=SECRET")});
        QNetworkRequest secret = request("/page?oauth_token=SECRET");
        secret.setRawHeader("Authorization", "OAuth oauth_token=\"SECRET\"");
        const ExchangeOutcome outcome = runGet(secret, 5000, m_logger);
        NetworkOperationAsync async(secret, "POST", "password=SECRET", m_logger);
        QSignalSpy asyncEnds(&async, &NetworkOperationAsync::RequestFinished);
        async.Start();
        QVERIFY(asyncEnds.wait(5000));
        const QString shown = m_server.url(page).toString() + QStringLiteral("?oauth_token=***");
        const QStringList texts = m_logger->texts();
        for (const char* line : {"NetworkOperation::RequestFinishedSlot called: GET %1",
                                 "NetworkOperation::OperationFinished Emitting RequestFinished: GET %1",
                                 "NetworkOperation::StartOperation called: POST %1",
                                 "NetworkOperationAsync::Start: Emitting StartOperation: POST %1",
                                 "NetworkOperationAsync::RequestFinishedSlot called: POST %1",
                                 "NetworkOperationAsync::RequestFinishedSlot: Emitting RequestFinished: POST %1"})
            QVERIFY2(texts.contains(QString::fromLatin1(line).arg(shown)), line);
        const QString all = texts.join(QLatin1Char('\n')) + outcome.message + outcome.reply.errorText
                            + outcome.reply.dump.join(QLatin1Char('\n')) + async.errorMessage();
        QVERIFY2(!all.contains("SECRET"), qPrintable(all));
        QVERIFY(outcome.reply.body.contains("SECRET"));
    }

    void destroyedWhileRunning() {
        m_server.setScript(page, silence);
        auto operation = std::make_unique<NetworkOperation>(nullptr, m_logger);
        NetworkOperation* raw = operation.get();
        QSignalSpy ends(raw, &NetworkOperation::RequestFinished);
        QString told;
        connect(raw, &NetworkOperation::RequestFinished, this, [&told, raw] { told = raw->errorMessage(); });
        const QPointer<QNetworkReply> reply(operation->Send(request(), get(), nullptr, 0));
        QVERIFY(m_server.waitForRequest(page));
        operation.reset();
        QCOMPARE(ends.count(), 1);
        QCOMPARE(told, QStringLiteral("Operation was canceled. Object deleted."));
        QTRY_VERIFY(!reply);
    }

private:
    static void sendAndWait(NetworkOperation& operation, const QNetworkRequest& request, const QString& verb, QIODevice* upload) {
        QSignalSpy ends(&operation, &NetworkOperation::RequestFinished);
        operation.Send(request, verb, upload, 5000);
        QVERIFY(ends.count() == 1 || ends.wait(6000));
    }
};

QTEST_GUILESS_MAIN(NetworkOperationTest)
#include "NetworkOperationTest.moc"
