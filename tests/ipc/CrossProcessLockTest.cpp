#include "VqUtil/Locks/CrossProcessLock.h"
#include "TestKit/HelperProcess.h"
#include "TestKit/Platform/SystemFacts.h"
#include "TestKit/RecordingLogger.h"
#include "TestKit/Test.h"
#include "VqUtil/Files/AtomicFile.h"

using namespace Velquor;
using namespace Velquor::Util;
using TestKit::HelperProcess;

class CrossProcessLockTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_folder = std::make_unique<QTemporaryDir>();
        m_logger->clear();
    }

    // Over and over, so that a count lost or won once shows.
    void theLockOfADeadHolderIsTaken() {
        const TestKit::Rows row(this, [&](const QString& command) {
            for (int round = 0; round < 8; ++round) {
                const auto holder = run(command);
                QCOMPARE(holder->nextLine(), QByteArray("held"));
                const TestKit::Stopwatch timer;
                holder->kill();
                CrossProcessLock lock = makeLock();
                QVERIFY(lock.acquire(60000));
                QVERIFY2(timer.elapsed() < TestKit::limitMs(2000), qPrintable(QString::number(timer.elapsed())));
                CrossProcessLock second = makeLock();
                QVERIFY(!second.acquire(0));
            }
            QCOMPARE(m_logger->texts(Log::Level::Error).size(), 8);
        });
        row("killed", "hold");
        row("ended in the section", "crash-in-section");
    }

    void timeoutIsHonoured() {
        const TestKit::Rows row(this, [&](int timeout) {
            const auto holder = run("hold");
            QCOMPARE(holder->nextLine(), QByteArray("held"));
            CrossProcessLock lock = makeLock();
            const TestKit::Stopwatch timer;
            QVERIFY(!lock.acquire(timeout));
            const qint64 elapsed = timer.elapsed();
            QVERIFY2(elapsed >= timeout && elapsed < timeout + TestKit::limitMs(1500), qPrintable(QString::number(elapsed)));
            QCOMPARE(m_logger->texts(),
                     QStringList(QStringLiteral("Failed to acquire cross-process lock %1: another process holds it for more "
                                                "than %2 ms")
                                     .arg(m_key)
                                     .arg(timeout)));
            QVERIFY(holder->finish());
            QVERIFY(lock.acquire(2000));
        });
        row("at once", 0);
        row("soon", 50);
        row("later", 500);
    }

    void aMissingFolderIsAFailure() {
        if (!TestKit::guardsAreFiles())
            QSKIP("The guard needs no folder here");
        CrossProcessLock lock(m_key, m_folder->filePath("no/such/folder"), m_logger);
        QVERIFY(!lock.acquire(1000));
        QCOMPARE(m_logger->texts(Log::Level::Error).size(), 1);
        lock.release(); // gives nothing back that it does not hold
        CrossProcessLock other = makeLock();
        QVERIFY(other.acquire(1000));
    }

    void noIncrementIsLost() {
        // starts: of processes, one after the other in each lane
        // bumps: of each process
        const TestKit::Rows row(this, [&](int lanes, int starts, int bumps) {
            for (int start = 0; start < starts; ++start) {
                std::vector<std::unique_ptr<HelperProcess>> helpers;
                for (int lane = 0; lane < lanes; ++lane)
                    helpers.push_back(run("bump", bumps));
                for (const auto& helper : helpers)
                    QVERIFY(helper->finish());
            }
            QCOMPARE(counter(), lanes * starts * bumps);
        });
        row("long-lived", 4, 1, 100);
        row("short-lived", 4, 8, 3);
    }

private:
    [[nodiscard]] CrossProcessLock makeLock() const { return {m_key, m_folder->path(), m_logger}; }
    [[nodiscard]] std::unique_ptr<HelperProcess> run(const QString& command, int count = 0) const {
        return std::make_unique<HelperProcess>("lock_helper",
                                               QStringList{command, m_key, m_folder->path(), QString::number(count)});
    }
    [[nodiscard]] int counter() const { return AtomicFile::read(m_folder->filePath("counter"), 100).data.toInt(); }

    const QString m_key = QStringLiteral("VqCrossProcessLockTest");
    std::unique_ptr<QTemporaryDir> m_folder;
    std::shared_ptr<TestKit::RecordingLogger> m_logger = std::make_shared<TestKit::RecordingLogger>();
};

QTEST_GUILESS_MAIN(CrossProcessLockTest)
#include "CrossProcessLockTest.moc"
