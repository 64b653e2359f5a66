// One of the two carriers of events does not work: the other one does.

#include "Events/EventDocument.h"
#include "TestKit/EventStorm.h"
#include "TestKit/PackedParams.h"
#include "TestKit/Test.h"
#include "TestKit/WaitFor.h"
#include "VqUtil/Messaging/PeerIdentity.h"

#include <QLocalServer>

using namespace Velquor;
using TestKit::EventStorm;

class CarrierTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_folder = std::make_unique<QTemporaryDir>();
        m_runtime = std::make_unique<QTemporaryDir>();
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_runtime->path()));
    }

    // A folder has the name of the socket.
    void eventsArriveWithoutTheSocket() {
        const QString file = Util::localServerSocketFile(address());
        if (file.isEmpty())
            QSKIP("here the name of a local server is no file");
        QVERIFY(QDir().mkpath(file + QStringLiteral("/something")));
        hearByFileAlone();
    }

    // All are connected with it, and it passes nothing on: so does one that was stopped in a debugger.
    void eventsArriveWithAServerThatHangs() {
        QLocalServer server;
        server.setSocketOptions(QLocalServer::UserAccessOption);
        server.setMaxPendingConnections(100);
        QVERIFY2(server.listen(address()), qPrintable(server.errorString()));
        hearByFileAlone();
        QVERIFY(server.hasPendingConnections());
    }

    // The system has no watch left for anybody.
    void eventsArriveWithoutTheWatcher() {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const QString& variable : QStringLiteral(VQ_WITHOUT_WATCHER).split(QLatin1Char('|')))
            environment.insert(variable.section(QLatin1Char('='), 0, 0), variable.section(QLatin1Char('='), 1));
        EventStorm storm(m_folder->path(), environment);
        QVERIFY(storm.start(count()));
        QVERIFY(storm.rage(TestKit::rounds(30000, 300000)));
        qint64 slowest = 0;
        for (const QByteArray& from : EventStorm::senderNames()) {
            const qint64 ageMs = ageOfLastMs(storm, from);
            QVERIFY2(isFine(ageMs), qPrintable(QString::number(ageMs)));
            slowest = std::max(slowest, ageMs);
        }
        report("last state without the watcher", slowest);
        const QByteArray fault = "fault: " + environment.value("VQ_FAULT").section(QLatin1Char(':'), 0, 0).toLatin1();
        for (const auto& listener : storm.listeners()) {
            for (const QByteArray& from : EventStorm::senderNames())
                QCOMPARE(listener->numbers(from).size(), count());
            QVERIFY(listener->readAllStandardError().contains(fault));
        }
    }

private:
    static constexpr int promptMs = 2000;

    static bool isFine(qint64 ageMs) { return ageMs >= 0 && (!TestKit::isSoak() || ageMs < promptMs); }
    static int count() { return TestKit::rounds(100, 2500); }

    [[nodiscard]] QString address() const { return Util::localServerAddress("Velquor.WebServices", m_folder->path()); }

    // The file holds the last event only, so that some pass unseen; the last one does not.
    void hearByFileAlone() {
        EventStorm storm(m_folder->path());
        QVERIFY(storm.start(count()));
        QVERIFY(storm.rage(TestKit::rounds(30000, 300000)));
        QVERIFY(settles());
        const QVariantMap last =
            TestKit::unpacked(lastEvent().params.value(WebServices::Internal::EventParam::consumerKey).toString());
        QCOMPARE(last.value("Number").toInt(), count() - 1);
        const qint64 ageMs = ageOfLastMs(storm, last.value("From").toByteArray());
        report("last state without the socket", ageMs);
        QVERIFY(isFine(ageMs));
        for (const auto& listener : storm.listeners()) {
            for (const QByteArray& sender : EventStorm::senderNames()) {
                const QVector<int> numbers = listener->numbers(sender);
                QVERIFY(std::adjacent_find(numbers.cbegin(), numbers.cend(), std::greater_equal<>()) == numbers.cend());
            }
        }
    }

    // From the call that raised the last event of a sender to the listener that heard it last; -1 when one has not.
    [[nodiscard]] static qint64 ageOfLastMs(const EventStorm& storm, const QByteArray& from) {
        qint64 slowestUs = 0;
        for (const auto& listener : storm.listeners()) {
            if (!TestKit::waitFor([&] { return listener->numbers(from).endsWith(count() - 1); }, 10 * promptMs))
                return -1;
            for (const TestKit::IpcHelper::Heard& heard : listener->heard()) {
                if (heard.from == from && heard.number == count() - 1)
                    slowestUs = std::max(slowestUs, heard.ageUs);
            }
        }
        return slowestUs / 1000;
    }

    // The file may be written after the events were raised.
    [[nodiscard]] bool settles() const {
        const QString path = m_folder->filePath("Event.xml");
        const auto isOld = [&path] { return QFileInfo(path).lastModified().msecsTo(QDateTime::currentDateTime()) > 500; };
        return TestKit::waitFor(isOld, TestKit::rounds(30000, 300000));
    }

    static void report(const QString& what, qint64 ms) { TestKit::figure(what, "< 2 s", QStringLiteral("%1 ms").arg(ms)); }

    [[nodiscard]] WebServices::Internal::EventDocument lastEvent() const {
        WebServices::Internal::EventDocument event;
        (void)readEventDocument(TestKit::readFile(m_folder->filePath("Event.xml")), event);
        return event;
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<QTemporaryDir> m_runtime;
};

QTEST_GUILESS_MAIN(CarrierTest)
#include "CarrierTest.moc"
