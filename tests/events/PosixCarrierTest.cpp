// One of the two carriers of events does not work: the other one does.

#include "Events/EventDocument.h"
#include "TestKit/EventStorm.h"
#include "TestKit/Soak.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

using namespace Velquor;
using TestKit::EventStorm;

namespace {

constexpr int promptMs = 2000;

} // namespace

class PosixCarrierTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_folder = std::make_unique<QTemporaryDir>();
        m_runtime = std::make_unique<QTemporaryDir>();
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_runtime->path()));
    }

    // Something foreign stands where the socket should be. The file holds the last event only, so that some pass unseen; the last
    // one does not.
    void withoutTheSocket() {
        QVERIFY(QDir(m_runtime->path()).mkpath(QStringLiteral("Velquor.WebServices/something")));
        EventStorm storm(m_folder->path());
        QVERIFY(storm.start(count()));
        QVERIFY(storm.rage(TestKit::rounds(30000, 300000)));
        QElapsedTimer timer;
        timer.start();
        const QVariantMap last = TestKit::unpacked(lastEvent().params.value(WebServices::EventParam::consumerKey).toString());
        const QByteArray from = last.value(QStringLiteral("From")).toByteArray();
        QCOMPARE(last.value(QStringLiteral("Number")).toInt(), count() - 1);
        for (const auto& listener : storm.listeners())
            QVERIFY(TestKit::waitFor([&] { return listener->numbers(from).endsWith(count() - 1); }, promptMs));
        report(QStringLiteral("last state without the socket"), timer.elapsed());
        for (const auto& listener : storm.listeners()) {
            for (const QByteArray& sender : EventStorm::senderNames()) {
                const QVector<int> numbers = listener->numbers(sender);
                QVERIFY(std::adjacent_find(numbers.cbegin(), numbers.cend(), std::greater_equal<>()) == numbers.cend());
            }
        }
    }

    // The system has no watch left for anybody.
    void withoutTheWatcher() {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("LD_PRELOAD"), QString::fromLocal8Bit(VQ_FAULT_SHIM));
        environment.insert(QStringLiteral("ASAN_OPTIONS"), QStringLiteral("verify_asan_link_order=0"));
        environment.insert(QStringLiteral("VQ_FAULT"), QStringLiteral("inotify:EMFILE:"));
        EventStorm storm(m_folder->path(), environment);
        QVERIFY(storm.start(count()));
        QVERIFY(storm.rage(TestKit::rounds(30000, 300000)));
        QElapsedTimer timer;
        timer.start();
        for (const auto& listener : storm.listeners()) {
            for (const QByteArray& from : EventStorm::senderNames())
                QVERIFY(TestKit::waitFor([&] { return listener->numbers(from).endsWith(count() - 1); }, promptMs));
        }
        report(QStringLiteral("last state without the watcher"), timer.elapsed());
        for (const auto& listener : storm.listeners()) {
            for (const QByteArray& from : EventStorm::senderNames())
                QCOMPARE(listener->numbers(from).size(), count());
            QVERIFY(listener->readAllStandardError().contains("fault: inotify"));
        }
    }

private:
    static int count() { return TestKit::rounds(100, 2500); }

    static void report(const QString& what, qint64 elapsedMs) {
        TestKit::figure(what, QStringLiteral("< 2 s"), QStringLiteral("%1 ms").arg(elapsedMs));
    }

    [[nodiscard]] WebServices::EventDocument lastEvent() const {
        WebServices::EventDocument event;
        QFile file(m_folder->filePath(QStringLiteral("Event.xml")));
        if (file.open(QIODevice::ReadOnly))
            (void)readEventDocument(file.readAll(), event);
        return event;
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<QTemporaryDir> m_runtime;
};

QTEST_GUILESS_MAIN(PosixCarrierTest)
#include "PosixCarrierTest.moc"
