// A cache against a web service that answers as scripted, or badly, or not at all.

#include "TestKit/CacheFixture.h"
#include "TestKit/Platform/SystemFacts.h"
#include "TestKit/Test.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <VqWebServices/Cache.h>

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;
using TestKit::answer;
using TestKit::CacheFixture;
using TestKit::RunningCaches;

namespace {

const auto product = QStringLiteral("product");
constexpr qint64 hundredMebibytes = 104857600;

// Answers every request with a body of 100 MiB, given out as fast as it is taken.
class PouringServer : public QTcpServer {
public:
    void incomingConnection(qintptr handle) override {
        auto* const socket = new QTcpSocket(this);
        socket->setSocketDescriptor(handle);
        connect(socket, &QTcpSocket::readyRead, this, [socket] {
            if (socket->readAll().contains("\r\n\r\n"))
                socket->write("HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(hundredMebibytes) + "\r\n\r\n");
        });
        connect(socket, &QTcpSocket::bytesWritten, this, [this, socket](qint64 count) {
            taken += count;
            if (socket->bytesToWrite() < 65536 && taken < hundredMebibytes)
                socket->write(QByteArray(65536, 'x'));
        });
    }
    std::atomic<qint64> taken{0};
};

} // namespace

class CacheUpdateTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_fixture = std::make_unique<CacheFixture>(); }
    void cleanup() {
        m_caches.reset();
        m_fixture.reset();
    }

    void asksWhenNothingIsKnown() {
        m_fixture->answerUser("ada");
        startSwitchedOff();
        QCOMPARE(email(), QStringLiteral("ada@example.com"));
        QCOMPARE(count(), 1);
        const TestKit::ReceivedRequest request = m_fixture->server.requests(m_fixture->userPath).first();
        QCOMPARE(request.verb, QByteArray("GET"));
        QVERIFY(request.head.contains("GET /account?format=xml "));
        QVERIFY(request.head.contains("Authorization: OAuth "));
        QVERIFY(!request.head.contains("If-Modified-Since"));
        for (const char* const text :
             {"Cache requested, but not available. Initiating synchronous cache update.", "Preparing to update",
              "Starting update in separate thread", "Finished update. Cache updated successfully at ", "Update finished",
              "Saved cache to cache file "})
            QCOMPARE(m_fixture->logged(QStringLiteral("User Info: ") + QLatin1String(text)), 1);
        QCOMPARE(m_fixture->logged("User Info: User name: ada, Id: ada, Email: ada@example.com, First name: ada, Last name: L"),
                 1);
        QVERIFY(m_fixture->logger->texts().filter("access-token").isEmpty());
        QVERIFY(!m_fixture->fileContents().contains("access-token"));
    }

    // The last known value with the date at which it was received, for as long as the service cannot be reached.
    void offlineTheLastKnownValueStays() {
        m_fixture->answerUser("ada");
        start();
        QVERIFY(!email().isEmpty());
        const QByteArray file = m_fixture->fileContents();
        m_caches.reset();
        m_fixture->clockOffset = 20 * 86400;
        m_fixture->answerUserWith("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n<User>");
        start();
        QCOMPARE(email(), QStringLiteral("ada@example.com"));
        QTRY_VERIFY(m_fixture->logged("User Info: Will retry update in 2 min") > 0);
        QCOMPARE(email(), QStringLiteral("ada@example.com"));
        QCOMPARE(m_fixture->logged("User Info: Cache has expired. It will be updated."), 1);
        QCOMPARE(m_fixture->fileContents(), file);
    }

    void asksConditionallyAndKeepsWhatHasNotChanged() {
        m_fixture->answerUser("ada", "Last-Modified: Sun, 06 Nov 1994 08:49:37 GMT\r\n");
        start();
        QVERIFY(!email().isEmpty());
        const QByteArray file = m_fixture->fileContents();
        m_fixture->answerUserWith("HTTP/1.1 304 Not Modified\r\n\r\n");
        renew();
        QTRY_COMPARE(m_fixture->logged("Finished update. Cache not modified since server returned 304."), 1);
        QVERIFY(m_fixture->server.requests(m_fixture->userPath)
                    .last()
                    .head.contains("If-Modified-Since: Sun, 06 Nov 1994 08:49:37 GMT"));
        QCOMPARE(email(), QStringLiteral("ada@example.com"));
        QCOMPARE(m_fixture->fileContents(), file);
        // The date stays, so that the value counts as expired; still it is not asked for again at once.
        QTest::qWait(200);
        QCOMPARE(count(), 2);
        // An older date is what the service says, and the body is newer than ours.
        m_fixture->answerUser("bob", "Last-Modified: Sat, 05 Nov 1994 08:49:37 GMT\r\n");
        renew();
        QTRY_COMPARE(email(), QStringLiteral("bob@example.com"));
        m_fixture->answerUser("eve");
        renew();
        QTRY_COMPARE(email(), QStringLiteral("eve@example.com"));
        QVERIFY(m_fixture->server.requests(m_fixture->userPath).last().head.contains("Sat, 05 Nov 1994 08:49:37 GMT"));
        renew();
        QTRY_COMPARE(count(), 5);
        QVERIFY(!m_fixture->server.requests(m_fixture->userPath).last().head.contains("If-Modified-Since"));
    }

    void badAnswersKeepTheValue() {
        const TestKit::Rows row(this, [&](const QByteArray& bytes, bool retried) {
            m_fixture->answerUser("ada");
            start();
            QVERIFY(!email().isEmpty());
            m_fixture->answerUserWith(bytes);
            renew();
            QTRY_VERIFY(m_fixture->logged("User Info: Failed to update cache: ") > 0);
            QTRY_VERIFY(m_fixture->logged("User Info: Update finished") > 1);
            QCOMPARE(m_fixture->logged("User Info: Will retry update in 2 min"), retried ? 1 : 0);
            QCOMPARE(email(), QStringLiteral("ada@example.com"));
            QVERIFY(m_fixture->fileContents().contains("ada@example.com"));
            m_fixture->answerUser("bob");
            renew();
            QTRY_COMPARE(email(), QStringLiteral("bob@example.com"));
        });
        const QByteArray page = "<!DOCTYPE html><title>Welcome</title>";
        row("page of a captive portal", answer("200 OK", page, "Content-Type: text/html\r\n"), true);
        row("empty", answer("200 OK", {}), true);
        row("cut", QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 900\r\n\r\n" + CacheFixture::userReply("eve")), true);
        row("no answer", " ", true);
        row("503", answer("503 Service Unavailable", {}, "Retry-After: -1\r\n"), true);
        row("401", answer("401 Unauthorized", {}), false);
        row("204", "HTTP/1.1 204 No Content\r\n\r\n", false);
        row("redirect", answer("302 Found", {}, "Location: file:///etc/passwd\r\n"), false);
        row("wrong clock",
            answer("401 Unauthorized", {}, "xoauth_problem: message_expired\r\nDate: Sun, 06 Nov 1994 08:49:37 GMT\r\n"), true);
        row("packed without being asked",
            answer("200 OK", QByteArray::fromHex("1f8b08000000000000ffedc1010d000000c2a0f74f6d0e37a0"),
                   "Content-Encoding: gzip\r\n"),
            true);
    }

    void aHugeReplyIsCutOffEarly() {
        QThread thread;
        auto* const pouring = new PouringServer;
        pouring->moveToThread(&thread);
        connect(&thread, &QThread::finished, pouring, &QObject::deleteLater);
        thread.start();
        quint16 port = 0;
        QMetaObject::invokeMethod(
            pouring, [&] { port = pouring->listen(QHostAddress::LocalHost) ? pouring->serverPort() : 0; },
            Qt::BlockingQueuedConnection);
        m_fixture->setUrls(QStringLiteral("http://127.0.0.1:%1").arg(port));
        start();
        const qint64 before = TestKit::peakMemoryBytes();
        QVERIFY(email().isEmpty());
        const qint64 grown = TestKit::peakMemoryBytes() - before;
        QVERIFY(m_fixture->logged("Reply body is larger than 4194304 bytes") > 0);
        // What the systems' socket buffers hold is taken too.
        QVERIFY2(pouring->taken < hundredMebibytes / 4, qPrintable(QString::number(pouring->taken)));
        QVERIFY2(grown < TestKit::notesPerByte * 24 * 1024 * 1024, qPrintable(QString::number(grown)));
        thread.quit();
        thread.wait();
    }

    void retriesFiveTimesSoonAndThenPatiently() {
        m_fixture->answerUserWith(answer("500 Internal Server Error", {}));
        startSwitchedOff();
        for (int attempt = 1; attempt <= 6; ++attempt)
            QVERIFY(email().isEmpty());
        QCOMPARE(count(), 6);
        const QStringList delays = m_fixture->logger->texts().filter("Will retry update in ");
        QCOMPARE(delays.size(), 6);
        for (int attempt = 0; attempt < 6; ++attempt)
            QVERIFY2(delays.at(attempt).endsWith(attempt < 5 ? QStringLiteral(" 2 min") : QStringLiteral(" 1 h")),
                     qPrintable(delays.at(attempt)));
        // A success resets the count.
        m_fixture->answerUser("ada");
        QVERIFY(!email().isEmpty());
        m_caches->door.EnableCache(CacheType::UserInfo, true);
        m_fixture->answerUserWith(answer("500 Internal Server Error", {}));
        renew();
        QTRY_VERIFY(m_fixture->logger->texts().filter("Will retry update in ").size() == 7);
        QVERIFY(m_fixture->logger->texts().filter("Will retry update in ").last().endsWith(" 2 min"));
    }

    // The timer itself, at the shortest interval there is.
    void aValueIsRenewedByItsTimer() {
        m_fixture->answerUser("ada");
        start();
        cache()->SetUpdateInterval(1);
        QVERIFY(m_fixture->logged("User Info: Posting async request to start timer in object's thread") > 0);
        QVERIFY(!email().isEmpty());
        m_fixture->answerUser("bob");
        QTRY_COMPARE_WITH_TIMEOUT(email(), QStringLiteral("bob@example.com"), 20000);
        QVERIFY(m_fixture->logged("Timer event received. Checking if it is time to update.") > 0);
        m_caches->door.EnableCache(CacheType::UserInfo, false);
        QVERIFY(m_fixture->logged("User Info: Posting async request to stop timer in object's thread") > 0);
        QTest::qWait(100);
        const int before = count();
        QTest::qWait(1500);
        QCOMPARE(count(), before);
    }

    void nothingIsAskedWithoutAToken() {
        m_fixture->owner.tokenExpired = true;
        m_fixture->answerUser("ada");
        start();
        QVERIFY(email().isEmpty());
        QVERIFY(m_fixture->logged(QStringLiteral(
                    "User Info: Skipping update. Token has expired or refresh is in progress. Will retry update in 5 s."))
                > 0);
        m_fixture->owner.tokenExpired = false;
        QCOMPARE(m_caches->refreshes->enter(), RunState::Entry::Entered);
        QVERIFY(email().isEmpty());
        m_fixture->owner.loggedIn = false;
        QVERIFY(email().isEmpty());
        QVERIFY(m_fixture->logged("User Info: Skipping update. Can't update cache now.") > 0);
        QCOMPARE(count(), 0);
        m_fixture->owner.loggedIn = true;
        m_caches->refreshes->leave(1);
        m_caches->door.post(&CacheStore::TokenRefreshed);
        QTRY_VERIFY(m_caches->door.isAvailable(CacheType::UserInfo));
        QCOMPARE(m_fixture->logged("User Info: TokenRefreshed event received"), 1);
    }

    void aSignOutWinsOverAReply() {
        TestKit::Script slow{answer("200 OK", CacheFixture::userReply("ada"))};
        slow.delayInMsec = 300;
        m_fixture->server.setScript(m_fixture->userPath, slow);
        start();
        QVERIFY(m_fixture->server.waitForRequest(m_fixture->userPath));
        m_fixture->owner.loggedIn = false;
        QTRY_VERIFY(m_fixture->logged("User Info: Update finished") > 0);
        QVERIFY(!m_caches->door.isAvailable(CacheType::UserInfo));
        QVERIFY(!m_fixture->fileContents().contains("ada"));
    }

    void anInvalidatedValueIsAskedForAgain() {
        m_fixture->answerUser("ada");
        start();
        QVERIFY(!email().isEmpty());
        m_fixture->answerUser("bob");
        m_caches->door.InvalidateCache(CacheType::UserInfo);
        QCOMPARE(email(), QStringLiteral("bob@example.com"));
        m_caches->door.EnableCache(CacheType::UserInfo, false);
        m_caches->door.DeleteCache(CacheType::UserInfo);
        QVERIFY(!m_caches->door.userInfo(false));
        QTRY_COMPARE(m_fixture->logged("User Info: Cleared cache in cache file"), 2);
        QVERIFY(!m_fixture->fileContents().contains("bob"));
        m_caches->door.DeleteCache(static_cast<CacheType>(3));
        QCOMPARE(m_fixture->logged("Failed to delete cache Unknown. Cache objects not yet created."), 1);
    }

    // Deactivation ends updates and waits; no signal comes afterwards.
    void stoppingEndsEveryUpdateAndWait() {
        const TestKit::Rows row(this, [&](int delayMs) {
            TestKit::Script slow{answer("200 OK", CacheFixture::userReply("ada"))};
            slow.delayInMsec = delayMs == 100 ? 60000 : 10;
            m_fixture->server.setScript(m_fixture->userPath, slow);
            start();
            std::atomic<bool> isStopped{false};
            std::atomic<int> late{0};
            connect(
                cache(), &Cache::CacheUpdated, cache(), [&] { late += isStopped ? 1 : 0; }, Qt::DirectConnection);
            TestKit::Threads waiting(4, [&](int) { (void)m_caches->door.userInfo(true); });
            QThread::msleep(static_cast<unsigned long>(delayMs));
            const TestKit::Stopwatch timer;
            m_caches->stop();
            isStopped = true;
            waiting.join();
            QVERIFY2(timer.elapsed() < TestKit::limitMs(2000), qPrintable(QString::number(timer.elapsed())));
            QVERIFY(!m_caches->door.userInfo(true));
            QCoreApplication::processEvents();
            QCOMPARE(late.load(), 0);
        });
        for (const int delayMs : {0, 1, 5, 20, 100})
            row(qPrintable(QStringLiteral("%1 ms").arg(delayMs)), delayMs);
    }

    // Every reader sees one reply, never parts of two, whatever is being received.
    void readersSeeWholeRepliesDuringUpdates() {
        m_fixture->answerUser("a0");
        start();
        QVERIFY(!email().isEmpty());
        cache()->SetUpdateInterval(1);
        std::atomic<bool> isDone{false};
        std::atomic<int> torn{0};
        TestKit::Threads readers(32, [&](int) {
            while (!isDone) {
                for (int read = 0; read < 100; ++read) {
                    const auto info = m_caches->door.userInfo(true);
                    if (!info || info->email != info->firstName + "@example.com" || !info->text.contains(info->email))
                        ++torn;
                }
                QThread::msleep(50); // so that the writing threads get a processor at all
            }
        });
        const int changes = TestKit::rounds(30, 400);
        for (int change = 1; change <= changes; ++change) {
            m_fixture->answerUser("a" + QByteArray::number(change));
            const int before = count();
            renew();
            for (int wait = 0; count() == before && wait < 40; ++wait)
                QTest::qWait(5);
        }
        isDone = true;
        readers.join();
        QCOMPARE(torn.load(), 0);
        QVERIFY(count() > changes / 3);
    }

private:
    // It asks only when it is asked.
    void startSwitchedOff() { m_caches = std::make_unique<RunningCaches>(m_fixture->owner, product); }
    void start() {
        startSwitchedOff();
        m_caches->door.EnableCache(CacheType::UserInfo, true);
    }
    Cache* cache() const { return m_caches->door.store()->cache(CacheType::UserInfo); }
    QString email() const {
        const auto info = m_caches->door.userInfo(true);
        return info ? info->email : QString();
    }
    int count() const { return m_fixture->server.count(m_fixture->userPath); }

    // A day later, the product looks again.
    void renew() const {
        m_fixture->clockOffset += 86401;
        m_caches->door.post(&CacheStore::TokenAvailable);
    }

    std::unique_ptr<CacheFixture> m_fixture;
    std::unique_ptr<RunningCaches> m_caches;
};

QTEST_GUILESS_MAIN(CacheUpdateTest)
#include "CacheUpdateTest.moc"
