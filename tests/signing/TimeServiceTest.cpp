#include "Time/TimeService.h"
#include "FakeTimeSource.h"
#include "Signing/VqOAuthHost.h"
#include "TestKit/AccountServiceProcess.h"
#include "TestKit/LoopbackHttpServer.h"
#include "TestKit/RecordingLogger.h"
#include "TestKit/Test.h"
#include "Time/SystemTimeSource.h"
#include "Time/TimeServiceImp.h"

using namespace Velquor;
using namespace Velquor::OAuth;
using TestKit::answer;
using TestKit::LoopbackHttpServer;

namespace {

constexpr qint64 known = 1700000000; // Tue, 14 Nov 2023 22:13:20 GMT
constexpr qint64 hour = 3600000;

const QByteArray knownBody = "1700000000";
const QByteArray knownDate = "Date: Tue, 14 Nov 2023 22:13:20 GMT\r\n";
const TestKit::Script silence{{}, 0, 0, 0, false};

} // namespace

/// The time service with its worker, threads and real exchanges; time passes on a clock of the test's.
class TimeServiceTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_service.start()); }

    void init() {
        m_logger->clear();
        m_server = std::make_unique<LoopbackHttpServer>();
        m_clock = std::make_shared<TestKit::FakeTimeSource>(known * 1000);
        m_correction = std::make_shared<TimeCorrection>(TimeServiceOptions(), m_clock, m_logger);
    }

    void asksTheAccountService() {
        const TestKit::Rows row(this, [&](const QString& path, const QString& line) {
            QVERIFY(m_service.reset());
            QVERIFY(m_service.control("clock", QJsonObject{{"offset_seconds", 7200}}).contains("ok"));
            const auto system = std::make_shared<SystemTimeSource>();
            m_store.SetUrlOverrides(WebServices::Development, {{"TimeServerUrls", m_service.url() + path}});
            TimeServiceImp service(m_store, WebServices::Development, parts(system));
            service.start();
            // On a slow machine the answer takes so long that the span ends just below the two hours.
            const auto applied = [this](const QString& span) {
                return loggedStart(
                    QStringLiteral("System time is incorrect by %1. Will correct timestamp by applying this offset. "
                                   "System time lags behind server time by %1. System time: ")
                        .arg(span));
            };
            QTRY_COMPARE(applied("2 h") + applied("1 h 59 min"), 1);
            QCOMPARE(loggedStart(line), 1);
            const qint64 ahead = service.correctedTime().value_or(0) - QDateTime::currentSecsSinceEpoch();
            QVERIFY2(qAbs(ahead - 7200) <= 2, qPrintable(QString::number(ahead)));
        });
        row("unix", "/time/unix", "Successfully parsed unix time in body: ");
        row("iso", "/time/iso", "Successfully parsed ISO date in body: ");
        row("date header", "/time/date-header-only", "Successfully parsed date header: ");
        row("moved", "/time/moved", "Replacing time service url ");
    }

    void onlyAnAnswerWithATimeSetsTheTime() {
        const TestKit::Rows row(this, [&](const QByteArray& reply, bool isTime, QString line) {
            m_server->setScript("/a", {reply});
            const auto worker = makeWorker({"/a"});
            worker->StartServiceSlot();
            const QString settled =
                isTime ? QStringLiteral("Time queried successfully from server %1: 2023-11-14T22:13:20Z").arg(url("/a"))
                       : QStringLiteral("Will retry next server url in 5 s");
            QTRY_COMPARE(logged(settled), 1);
            QCOMPARE(loggedStart(line.replace(QLatin1String("URL"), url("/a"))), 1);
            QCOMPARE(successes(), isTime ? 1 : 0);
            QCOMPARE(m_logger->texts().last(),
                     isTime ? "Check timer restarted with interval 10000 ms" : "Check timer restarted with interval 5200 ms");
            QCOMPARE(m_correction->timestamp(), known);
            QVERIFY(!m_server->requests("/a").first().head.toLower().contains("authorization"));
        });
        const QByteArray page = "<html>1700000000</html>";
        const QString failed = QStringLiteral("Failed to get time from server URL. ");
        const QString noTime = QStringLiteral("Failed to parse date body and date header returned by server url URL");
        row("time", answer("200 OK", knownBody), true,
            "Time query finished. Server response: Http code: 200, Body: 1700000000, Date header: ");
        row("302", answer("302 Found", page, "Location: /other\r\n" + knownDate), true, "Successfully parsed date header: ");
        row("307", answer("307 Temporary Redirect", {}, "Location: /x\r\ndate: Tue, 14 Nov 2023 22:13:20 GMT\r\n"), true,
            "Successfully parsed date header: ");
        row("large page", answer("200 OK", QByteArray(100000, 'x'), knownDate), true, "Successfully parsed date header: ");
        row("303", answer("303 See Other", {}, knownDate), false,
            failed + "The server's status is no answer. Http error: 303 See Other. Network error: ");
        row("204", answer("204 No Content", {}, knownDate), false, failed);
        row("error with a time", answer("500 Oops", knownBody, knownDate), false, failed);
        row("no answer", "\r\n", false, failed);
        row("cut", "HTTP/1.1 200 OK\r\nContent-Length: 20\r\n\r\n1700000000", false, failed);
        row("page without date", answer("200 OK", page), false, noTime);
        row("nothing", answer("200 OK", {}), false, noTime);
        row("301 to a file", answer("301 Moved", knownBody, "Location: file:///etc/passwd\r\n"), false,
            failed + "The redirected url is not a valid http or https url. ");
        row("301 to nowhere", answer("301 Moved", knownBody), false, failed);
    }

    void aPermanentRedirectReplacesTheUrl() {
        m_server->setScript("/old", {answer("301 Moved", {}, "Location: /new?x=1\r\n" + knownDate)});
        m_server->setScript("/new", {answer("200 OK", knownBody)});
        const auto worker = makeWorker({"/old"});
        worker->StartServiceSlot();
        QTRY_COMPARE(successes(), 1);
        QCOMPARE(logged(QStringLiteral("Replacing time service url %1 to redirected url %2").arg(url("/old"), url("/new?x=***"))),
                 1);
        Q_EMIT worker->UpdateTimeTrigger(true);
        QTRY_COMPARE(successes(), 2);
        // Sixty days in milliseconds are too much for the framework's timer.
        Q_EMIT worker->StartTimerTrigger(std::chrono::hours(60 * 24));
        QTRY_COMPARE(m_logger->texts().last(), QStringLiteral("Check timer restarted with interval 86400000 ms"));
        QCOMPARE(m_server->count("/old"), 1);
        QCOMPARE(m_server->count("/new"), 1);
    }

    void failedServersAreRetriedInTurn() {
        m_server->setScript("/b", {answer("500 Oops", {})});
        const auto worker = makeWorker({"/a", "/b"});
        worker->StartServiceSlot();
        const QString quick = QStringLiteral("Will retry next server url in 5 s");
        for (int failure = 1; failure <= 5; ++failure) {
            QTRY_COMPARE(logged(quick), failure);
            m_clock->pass(4999);
            worker->TimerTimeout();
            m_clock->pass(1);
            QCOMPARE(loggedStart("Getting time from server "), failure);
            worker->TimerTimeout();
            QCOMPARE(loggedStart("Getting time from server "), failure + 1);
        }
        QTRY_COMPARE(logged("Will retry next server url in 15 min"), 1);
        QCOMPARE(m_logger->texts().last(), QStringLiteral("Check timer restarted with interval 10000 ms"));
        QCOMPARE(m_server->count("/a"), 3);
        QCOMPARE(m_server->count("/b"), 3);
        QCOMPARE(logged("Starting time update. Reason: First update in this session."), 6);
        QCOMPARE(loggedStart("Timer event received"), 10);
        m_server->setScript("/a", {answer("200 OK", knownBody)});
        m_clock->pass(900000);
        worker->TimerTimeout();
        QTRY_COMPARE(successes(), 1);
        m_clock->pass(24 * hour);
        worker->TimerTimeout();
        QTRY_COMPARE(successes(), 2);
        QCOMPARE(logged("Starting time update. Reason: 1 d has passed since last update."), 1);
        QCOMPARE(m_server->count("/a"), 5);
    }

    void endsWithoutUsableUrl() {
        auto worker = makeWorker({"file:///etc/hostname"});
        worker->StartServiceSlot();
        QTRY_COMPARE(logged("No more server urls to try. Stopping time service"), 1);
        QCOMPARE(logged("Failed to get time from server file:***. Network reply is null."), 1);
        QTRY_COMPARE(m_logger->texts().last(), QStringLiteral("Stopped time service"));
        QVERIFY(!worker->isRunning());
        m_logger->clear();
        Q_EMIT worker->StartTimerTrigger(std::chrono::seconds(1));
        QTest::qWait(5);
        QVERIFY(m_logger->texts().isEmpty());
        worker = makeWorker({});
        worker->StartServiceSlot();
        QCOMPARE(m_logger->texts(),
                 (QStringList{"Starting time service", "Starting time update. Reason: First update in this session.",
                              "Failed to get time from server. Time server urls list is empty.", "Stopping time service",
                              "Stopped time service"}));
    }

    void aChangedClockIsNotCorrectedTwice() {
        m_server->setScript("/a", {answer("200 OK", knownBody)});
        m_clock->changeClock(-2 * hour);
        const auto worker = makeWorker({"/a"});
        QCOMPARE(m_correction->timestamp(), known - 7200);
        worker->StartServiceSlot();
        QTRY_COMPARE(successes(), 1);
        QCOMPARE(m_correction->timestamp(), known);
        QCOMPARE(loggedStart("System time is incorrect by 2 h. Applying this offset to create correct timestamp. "), 1);
        worker->TimerTimeout();
        QCOMPARE(m_server->count("/a"), 1);
        // The user corrects the clock: the offset must not count twice, neither before nor after the query that this starts.
        m_clock->changeClock(2 * hour);
        QCOMPARE(m_correction->timestamp(), known);
        worker->TimerTimeout();
        worker->TimerTimeout();
        QTRY_COMPARE(successes(), 2);
        worker->TimerTimeout();
        QCOMPARE(m_server->count("/a"), 2);
        QCOMPARE(m_correction->timestamp(), known);
        QCOMPARE(logged("Starting time update. Reason: System time has changed."), 1);
        const QString comparison =
            QStringLiteral("Last ticks: 1000, Current ticks: 1000, Last time: 1699992800000, Current time: "
                           "1700000000000, Elapsed ticks: 0, Elapsed time: 7200000, Diff elapsed: 7200000");
        const int line = m_logger->texts().indexOf(comparison);
        QVERIFY(line >= 0);
        QCOMPARE(m_logger->texts().value(line + 1),
                 QStringLiteral("System time has changed. Starting time update to verify system time. %1.").arg(comparison));
        m_clock->changeClock(25 * hour);
        worker->TimerTimeout();
        worker->TimerTimeout();
        QCOMPARE(loggedStart(QStringLiteral(
                     "System time has changed, but ignoring the change since the offset is more than 1 d. Last ticks: ")),
                 1);
        QCOMPARE(m_server->count("/a"), 2);
    }

    void anOffsetBeyondTheLimitIsNotApplied() {
        m_server->setScript("/a", {answer("200 OK", knownBody)});
        m_clock->changeClock(25 * hour);
        const auto worker = makeWorker({"/a"});
        worker->StartServiceSlot();
        QTRY_COMPARE(successes(), 1);
        const QString told =
            QStringLiteral("System time is incorrect by 1 d 1 h. Will not correct timestamp since the offset is more than 1 d. ");
        QCOMPARE(loggedStart(told), 1);
        QCOMPARE(m_logger->texts().filter("Fix the system time. System time is ahead of server time by 1 d 1 h. ").size(), 1);
        QCOMPARE(m_correction->timestamp(), known + 25 * 3600);
        const QString refused = QStringLiteral(
            "System time is incorrect by 1 d 1 h. Not applying this offset to create correct timestamp since the offset is more than 1 d. ");
        QCOMPARE(loggedStart(refused), 1);
        // Near enough again, it applies at once.
        m_clock->changeClock(-2 * hour);
        QCOMPARE(m_correction->timestamp(), known);
        QCOMPARE(loggedStart("System time is incorrect by 23 h. Applying this offset"), 1);
    }

    void demandsDuringAQueryShareItsAnswer() {
        m_server->setScript("/a", {answer("200 OK", knownBody)});
        const auto service = makeService(url("/a"));
        service->handleIncorrectSystemTime();
        QTRY_COMPARE(successes(), 1);
        QCOMPARE(m_logger->texts().mid(0, 4),
                 (QStringList{"Starting time service to handle incorrect system time", "Starting time service asynchronously",
                              "Creating time service", "Starting time service"}));
        service->handleIncorrectSystemTime();
        QTRY_COMPARE(successes(), 2);
        QCOMPARE(logged("Starting time update. Reason: Forcing update before it is due."), 1);
        // A demand during a query shares its answer.
        m_server->setScript("/a", {answer("200 OK", knownBody), 0, 300});
        for (int caller = 0; caller < 5; ++caller)
            service->handleIncorrectSystemTime();
        service->start();
        QTRY_COMPARE(successes(), 3);
        QTRY_COMPARE(logged("DoStartService called. But time service is already running."), 1);
        QCOMPARE(m_server->count("/a"), 3);
        QCOMPARE(logged("Creating time service"), 1);
        QCOMPARE(
            logged(QStringLiteral(
                "Time service is already running. Starting time update since last request failed with time mismatch error.")),
            6);
    }

    void doesNotStartWhenDisabledStoppedOrWithoutUrl() {
        const TestKit::Rows row(this, [&](bool enabled, bool stopped, const QStringList& lines) {
            TimeServiceOptions options;
            options.enabled = enabled;
            const std::shared_ptr<TimeServiceImp> service = makeService(enabled && !stopped ? QString() : url("/a"), options);
            if (stopped)
                service->stop();
            service->start();
            service->handleIncorrectSystemTime();
            QCOMPARE(m_logger->texts(), lines);
            QVERIFY(!service->correctedTime());
            m_logger->clear();
            const VqOAuthHost host(nullptr, service, m_logger);
            QVERIFY(qAbs(host.GetTimestamp() - QDateTime::currentSecsSinceEpoch()) <= 1);
            QCOMPARE(m_logger->texts(),
                     QStringList{"Not using time service for timestamp. Time service is not yet created or already destroyed."});
            m_logger->clear();
            QVERIFY(VqOAuthHost(nullptr, nullptr, m_logger).GetTimestamp() > 0);
            QVERIFY(m_logger->texts().isEmpty());
        });
        const QStringList disabled{"Skipping starting of time service since time service is disabled",
                                   "Cannot handle incorrect system time. Time services is disabled."};
        row("disabled", false, false, disabled);
        row("stopped before", true, true, disabled);
        row("no url", true, false,
            QStringList{"Failed to start time service. Time server url not set.",
                        "Starting time service to handle incorrect system time",
                        "Failed to start time service. Time server url not set."});
    }

    void stopsAtAnyMoment() {
        // waitInMsec: -1: until the server has been asked
        const TestKit::Rows row(this, [&](int waitInMsec) {
            m_server->setScript("/a", silence);
            const std::shared_ptr<TimeServiceImp> service = makeService(url("/a"));
            const VqOAuthHost host(nullptr, service, m_logger);
            service->start();
            QCOMPARE(host.GetTimestamp(), known);
            if (waitInMsec < 0)
                QVERIFY(m_server->waitForRequest("/a"));
            else
                std::this_thread::sleep_for(std::chrono::milliseconds(waitInMsec));
            const TestKit::Stopwatch timer;
            service->stop();
            QVERIFY(timer.elapsed() < TestKit::limitMs(2000));
            QCOMPARE(m_logger->texts().last(), QStringLiteral("Stopped time service"));
            QCOMPARE(logged("Check timer stopped"), 1);
            QTest::qWait(20);
            QCOMPARE(m_logger->texts().last(), QStringLiteral("Stopped time service"));
            QVERIFY(host.GetTimestamp() != known);
            QCOMPARE(loggedStart("Not using time service for timestamp. "), 1);
        });
        row("at once", 0);
        row("while connecting", 3);
        row("during the query", -1);
    }

    void callsFromAllThreadsNeverSeeAWrongTime() {
        m_server->setScript("/a", {answer("200 OK", knownBody)});
        m_clock->changeClock(-hour);
        const auto service = makeService(url("/a"));
        std::atomic<int> wrong{0};
        TestKit::Threads threads(4, [&](int) {
            for (int round = 0; round < 200; ++round) {
                service->start();
                service->handleIncorrectSystemTime();
                const qint64 time = service->correctedTime().value_or(known);
                wrong += time == known || time == known - 3600 ? 0 : 1;
            }
        });
        QTest::qSleep(20);
        service->stop();
        threads.join();
        QCOMPARE(wrong.load(), 0);
        QCOMPARE(logged("Creating time service"), 1);
        QVERIFY(!service->correctedTime());
    }

    void anUntrustedServerIsRefusedAndLogged() {
        m_server = std::make_unique<LoopbackHttpServer>(LoopbackHttpServer::Transport::SelfSignedTls);
        m_server->setScript("/a", {answer("200 OK", knownBody)});
        const auto worker = makeWorker({"/a"});
        worker->StartServiceSlot();
        QTRY_COMPARE(logged("Will retry next server url in 5 s"), 1);
        QVERIFY(loggedStart("TimeService::SslError: SelfSignedCertificate (9): ") == 1);
        QCOMPARE(successes(), 0);
    }

private:
    [[nodiscard]] TimeServiceDependencies parts(std::shared_ptr<const ITimeSource> source,
                                                TimeServiceOptions options = {}) const {
        return {options, std::move(source), m_logger, m_networkLogger};
    }
    [[nodiscard]] std::unique_ptr<TimeServiceImp> makeService(const QString& urls, TimeServiceOptions options = {});

    [[nodiscard]] std::unique_ptr<TimeService> makeWorker(const QStringList& paths) {
        QStringList urls;
        for (const QString& path : paths)
            urls += path.startsWith(QLatin1Char('/')) ? url(path) : path;
        return std::make_unique<TimeService>(TimeServerUrls(urls.join(" \t")), m_correction, parts(m_clock));
    }

    [[nodiscard]] QString url(const QString& path) const { return m_server->url(path).toString(); }
    [[nodiscard]] int logged(const QString& text) const { return m_logger->texts().count(text); }
    [[nodiscard]] int loggedStart(const QString& text) const {
        return m_logger->texts().filter(QRegularExpression(QLatin1Char('^') + QRegularExpression::escape(text))).size();
    }
    [[nodiscard]] int successes() const { return loggedStart("Time queried successfully from server "); }

    TestKit::AccountServiceProcess m_service;
    std::shared_ptr<TestKit::RecordingLogger> m_logger = std::make_shared<TestKit::RecordingLogger>();
    std::shared_ptr<TestKit::RecordingLogger> m_networkLogger = std::make_shared<TestKit::RecordingLogger>();
    WebServices::Internal::UrlStore m_store{m_networkLogger};
    std::unique_ptr<LoopbackHttpServer> m_server;
    std::shared_ptr<TestKit::FakeTimeSource> m_clock;
    std::shared_ptr<TimeCorrection> m_correction;
};

std::unique_ptr<TimeServiceImp> TimeServiceTest::makeService(const QString& urls, TimeServiceOptions options) {
    m_store.SetUrlOverrides(WebServices::Development, {{"TimeServerUrls", urls}});
    return std::make_unique<TimeServiceImp>(m_store, WebServices::Development, parts(m_clock, options));
}

QTEST_GUILESS_MAIN(TimeServiceTest)
#include "TimeServiceTest.moc"
