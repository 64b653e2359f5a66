#include "VqUtil/Locks/CrossProcessLock.h"
#include "TestKit/LockHelper.h"
#include "TestKit/Platform/SystemFacts.h"
#include "TestKit/RecordingLogger.h"
#include "VqUtil/Files/AtomicFile.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>
#include <memory>
#include <thread>
#include <vector>

using namespace Velquor;
using namespace Velquor::Util;
using TestKit::LockHelper;

class CrossProcessLockTest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void excludesThreads();
    void deadHolders_data();
    void deadHolders();
    void timeoutIsHonoured_data();
    void timeoutIsHonoured();
    void missingFolder();
    void loses_data();
    void loses();
    void killedInTheSection();

private:
    [[nodiscard]] CrossProcessLock makeLock() const { return {m_key, m_folder->path(), m_logger}; }
    [[nodiscard]] std::unique_ptr<LockHelper> run(const char* command, int count = 0) const {
        return std::make_unique<LockHelper>(QStringList{QLatin1String(command), m_key, m_folder->path(), QString::number(count)});
    }
    [[nodiscard]] int counter() const {
        return AtomicFile::read(m_folder->filePath(QStringLiteral("counter")), 100).data.toInt();
    }

    const QString m_key = QStringLiteral("VqCrossProcessLockTest");
    std::unique_ptr<QTemporaryDir> m_folder;
    std::shared_ptr<TestKit::RecordingLogger> m_logger = std::make_shared<TestKit::RecordingLogger>();
};

void CrossProcessLockTest::init() {
    m_folder = std::make_unique<QTemporaryDir>();
    m_logger->clear();
}

void CrossProcessLockTest::excludesThreads() {
    int count = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([this, &count] {
            for (int round = 0; round < 50; ++round) {
                CrossProcessLock lock = makeLock();
                if (lock.acquire(10000))
                    ++count;
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    QCOMPARE(count, 200);
}

void CrossProcessLockTest::deadHolders_data() {
    QTest::addColumn<QByteArray>("command");
    QTest::newRow("killed") << QByteArray("hold");
    QTest::newRow("ended in the section") << QByteArray("crash-in-section");
}

// Over and over, so that a count lost or won once shows.
void CrossProcessLockTest::deadHolders() {
    QFETCH(QByteArray, command);
    for (int round = 0; round < 8; ++round) {
        const auto holder = run(command.constData());
        QVERIFY(holder->isHolding());
        QElapsedTimer timer;
        timer.start();
        holder->kill();
        CrossProcessLock lock = makeLock();
        QVERIFY(lock.acquire(5000));
        QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
        CrossProcessLock second = makeLock();
        QVERIFY(!second.acquire(0));
    }
    QCOMPARE(m_logger->texts(Log::Level::Error).size(), 8);
}

void CrossProcessLockTest::timeoutIsHonoured_data() {
    QTest::addColumn<int>("timeout");
    for (const int timeout : {0, 50, 500})
        QTest::addRow("%d ms", timeout) << timeout;
}

void CrossProcessLockTest::timeoutIsHonoured() {
    QFETCH(int, timeout);
    const auto holder = run("hold");
    QVERIFY(holder->isHolding());
    CrossProcessLock lock = makeLock();
    QElapsedTimer timer;
    timer.start();
    QVERIFY(!lock.acquire(timeout));
    const qint64 elapsed = timer.elapsed();
    QVERIFY2(elapsed >= timeout && elapsed < timeout + 1500, qPrintable(QString::number(elapsed)));
    QCOMPARE(m_logger->texts(),
             QStringList(QStringLiteral("Failed to acquire cross-process lock %1: another process holds it for more "
                                        "than %2 ms")
                             .arg(m_key)
                             .arg(timeout)));
    QVERIFY(holder->finish());
    QVERIFY(lock.acquire(2000));
}

void CrossProcessLockTest::missingFolder() {
    if (!TestKit::guardsAreFiles())
        QSKIP("The guard needs no folder here");
    CrossProcessLock lock(m_key, m_folder->filePath(QStringLiteral("no/such/folder")), m_logger);
    QVERIFY(!lock.acquire(1000));
    QCOMPARE(m_logger->texts(Log::Level::Error).size(), 1);
    lock.release(); // gives nothing back that it does not hold
    CrossProcessLock other = makeLock();
    QVERIFY(other.acquire(1000));
}

void CrossProcessLockTest::loses_data() {
    QTest::addColumn<int>("lanes");
    QTest::addColumn<int>("starts"); // of processes, one after the other in each lane
    QTest::addColumn<int>("bumps");  // of each process
    QTest::newRow("long-lived") << 4 << 1 << 100;
    QTest::newRow("short-lived") << 4 << 8 << 3;
}

void CrossProcessLockTest::loses() {
    QFETCH(int, lanes);
    QFETCH(int, starts);
    QFETCH(int, bumps);
    for (int start = 0; start < starts; ++start) {
        std::vector<std::unique_ptr<LockHelper>> helpers;
        for (int lane = 0; lane < lanes; ++lane)
            helpers.push_back(run("bump", bumps));
        for (const auto& helper : helpers)
            QVERIFY(helper->finish());
    }
    QCOMPARE(counter(), lanes * starts * bumps);
}

// A process that dies in the section has done its work or not; nobody else's work is lost, and nobody waits for it.
void CrossProcessLockTest::killedInTheSection() {
    int acknowledged = 0;
    constexpr int kills = 12;
    const auto survivor = run("bump", 150);
    for (int round = 0; round < kills; ++round) {
        const auto victim = run("bump", 100000);
        QVERIFY(victim->waitForReadyRead(10000));
        QTest::qSleep(static_cast<int>(QRandomGenerator::global()->bounded(1, 20)));
        victim->kill();
        QVERIFY(victim->waitForFinished(10000));
        acknowledged += victim->readAllStandardOutput().count('+');
    }
    QVERIFY(survivor->finish());
    acknowledged += 150;
    QVERIFY2(counter() >= acknowledged && counter() <= acknowledged + kills,
             qPrintable(QStringLiteral("%1 counted, %2 acknowledged").arg(counter()).arg(acknowledged)));
}

QTEST_GUILESS_MAIN(CrossProcessLockTest)
#include "CrossProcessLockTest.moc"
