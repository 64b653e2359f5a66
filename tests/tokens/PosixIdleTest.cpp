// A process with ten signed-in products that has nothing to do does nothing.

#include "Session/LoginSession.h"
#include "TestKit/LoopbackHttpServer.h"
#include "TestKit/StateProcess.h"
#include "TestKit/Test.h"
#include "Time/SystemTimeSource.h"
#include "Time/TimeServiceImp.h"

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

namespace {

QString keyOf(int product) {
    return QStringLiteral("product-%1").arg(product);
}

/// How often the threads of this process have gone to sleep so far.
int sleeps() {
    int count = 0;
    const QDir threads("/proc/self/task");
    for (const QString& thread : threads.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile status(threads.filePath(thread + QStringLiteral("/status")));
        const QByteArray text = status.open(QIODevice::ReadOnly) ? status.readAll() : QByteArray();
        const int place = text.indexOf("\nvoluntary_ctxt_switches:");
        count += place < 0 ? 0 : text.mid(place + 25, 20).simplified().split(' ').first().toInt();
    }
    return count;
}

/// Another process of the user that writes lines into its open log, to the end of this object.
class OtherProduct {
public:
    explicit OtherProduct(const QString& log) {
        if (log.isEmpty())
            return;
        m_process.start("/bin/sh", {"-c", "while echo line; do sleep 0.05; done > \"$0\"", log});
        QVERIFY(m_process.waitForStarted());
        QTRY_VERIFY(QFileInfo(log).size() > 0);
    }
    ~OtherProduct() {
        m_process.kill();
        m_process.waitForFinished();
    }
    Q_DISABLE_COPY_MOVE(OtherProduct)

private:
    QProcess m_process;
};

void waitInOneSleep(int ms) {
    QEventLoop loop;
    QTimer::singleShot(ms, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
}

} // namespace

class PosixIdleTest : public QObject {
    Q_OBJECT

private slots:
    void sleepsWhileNothingIsDue() {
        const auto row = [](const char* name, bool knowsTheTime, bool isOneLogging, int mostWakeUps) {
            TestKit::SessionFixture fixture;
            writeFile(fixture);
            fixture.notifiesProcesses = true;
            const auto session = fixture.makeSession(keyOf(0));
            QVERIFY(session->RestoreLogin(keyOf(0), false));
            for (int product = 1; product < products; ++product) {
                session->AddClient({keyOf(product), 1, "Product", "/opt/product"});
                QVERIFY(
                    session->SetConfiguration(keyOf(product), TestKit::SessionFixture::configuration(keyOf(product), "secret")));
                QVERIFY(session->isLoggedIn(keyOf(product)));
            }
            TestKit::LoopbackHttpServer server;
            OAuth::TimeServiceImp time(fixture.urls, Production,
                                       {{}, std::make_shared<OAuth::SystemTimeSource>(), fixture.logger, fixture.logger});
            if (knowsTheTime)
                QVERIFY(learnTheTime(time, server, fixture));
            QTest::qWait(1500); // until all that was begun is done
            const int ms = TestKit::rounds(2000, 10000);
            OtherProduct other(isOneLogging ? fixture.folder.filePath("WebServices.log") : QString());
            const int before = sleeps();
            waitInOneSleep(ms);
            const int count = sleeps() - before - 1;
            TestKit::figure(QStringLiteral("wake-ups of an idle process with ten products, %1").arg(QLatin1String(name)),
                            knowsTheTime ? QStringLiteral("its own timer's") : QStringLiteral("< 1 in 10 s"),
                            QStringLiteral("%1 in %2 s").arg(count).arg(ms / 1000));
            QVERIFY2(count <= mostWakeUps, name);
        };
        row("products alone", false, false, 0);
        row("beside a product that writes its log in the same folder", false, true, 0);
        // The time service looks at the clock every ten seconds, so not within the short form.
        row("with the time service", true, false, TestKit::rounds(0, 1));
    }

private:
    static constexpr int products = 10;

    static bool learnTheTime(OAuth::TimeServiceImp& time, TestKit::LoopbackHttpServer& server, TestKit::SessionFixture& fixture) {
        server.setScript("/time", {TestKit::answer("200 OK", QByteArray::number(QDateTime::currentSecsSinceEpoch()))});
        fixture.urls.SetUrlOverrides(Production, {{"TimeServerUrls", server.url("/time").toString()}});
        time.start();
        return server.waitForRequest("/time");
    }

    static void writeFile(TestKit::SessionFixture& fixture) {
        for (int product = 0; product < products; ++product) {
            TestKit::StateProcess process(fixture, keyOf(product));
            process.restore();
            const QDateTime expiry = QDateTime::currentDateTimeUtc().addDays(10);
            if (product == 0)
                process.signIn("ada", expiry);
            else
                process.takeTokens(expiry);
            QCOMPARE(process.save(), LoginStateStore::Result::Saved);
        }
    }
};

QTEST_GUILESS_MAIN(PosixIdleTest)
#include "PosixIdleTest.moc"
