#include "TestKit/HelperProcess.h"
#include "TestKit/RecordingLogger.h"
#include "TestKit/Test.h"
#include "VqUtil/ProcessState/ProcessState.h"

using namespace Velquor;
using namespace Velquor::Util;
using TestKit::rounds;
using TestKit::HelperProcess;

namespace {

ProcessProperties flag(const char* name) {
    return {{"ProductKey", "PRODUCT"}, {QLatin1String(name), true}};
}

} // namespace

/// The real block of the system, with processes that come, race, and are killed.
class ProcessStateProcessTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_folder.path())); }

    void init() {
        m_key = QStringLiteral("VqProcessStateProcessTest") + QUuid::createUuid().toString(QUuid::Id128);
        m_state = open(services());
        QVERIFY(m_state->ensureCreated());
        m_logger->clear();
    }

    // The block goes with its last process; only the file of the lock may stay, and the semaphore, which is removed here.
    void cleanup() {
        m_state.reset();
        const QString user = QString::number(QFileInfo(m_folder.path()).ownerId());
        const QSystemSemaphore removed(m_key + QStringLiteral(".Semaphore.") + user, 1, QSystemSemaphore::Create);
        QVERIFY(!QFileInfo::exists(m_folder.filePath(m_key)));
    }

    void theFlagOfADeadProcessCountsForNothing() {
        const TestKit::Rows row(this, [&](bool killed) {
            const auto helper = run();
            QCOMPARE(helper->nextLine(), QByteArray("ready"));
            helper->tell("set TokenRefreshInProgress");
            QCOMPARE(helper->nextLine(), QByteArray("set"));
            QVERIFY(m_state->queryProperty(flag("TokenRefreshInProgress")));
            QVERIFY(!m_state->setUnlessSetElsewhere(flag("TokenRefreshInProgress")));
            if (killed) {
                helper->killNow();
            } else {
                helper->tell("die");
                QVERIFY(helper->waitForFinished(10000));
            }
            QVERIFY(!m_state->queryProperty(flag("TokenRefreshInProgress")));
            QVERIFY(m_state->setUnlessSetElsewhere(flag("TokenRefreshInProgress")));
            QCOMPARE(m_logger->texts(Log::Level::Information),
                     QStringList("Removing 1 dead process(es) in process state shared memory"));
        });
        row("killed", true);
        row("ended by itself", false);
    }

    // A process id with another executable belongs to another process by now.
    void aReusedProcessIdCountsForNothing() {
        const auto helper = run();
        QCOMPARE(helper->nextLine(), QByteArray("ready"));
        ProcessStateDependencies fake = services();
        fake.ownProcessId = helper->processId();
        const QString path =
            QFileInfo(helper->program()
                      + (fake.ownExecutablePath.endsWith(QLatin1String(".exe")) ? QStringLiteral(".exe") : QString()))
                .absoluteFilePath();
        const QStringList paths{path, path.toUpper(), QDir::cleanPath(path + QStringLiteral("/../") + QFileInfo(path).fileName()),
                                QString()};
        for (const QString& same : paths) {
            fake.ownExecutablePath = same;
            open(fake)->deleteProcessState();
            open(fake)->setPropertyMap(flag("A"));
            QVERIFY2(m_state->queryProperty(flag("A")), qPrintable(same));
        }
        for (const QString& other : QStringList{path + "x", services().ownExecutablePath, "/"}) {
            fake.ownExecutablePath = other;
            open(fake)->deleteProcessState();
            open(fake)->setPropertyMap(flag("A"));
            QVERIFY2(!m_state->queryProperty(flag("A")), qPrintable(other));
        }
        QVERIFY(helper->finish());
    }

    // Eight processes want to do the same work at once.
    void oneOfEightProcessesWinsAFlag() {
        std::vector<std::unique_ptr<HelperProcess>> helpers;
        for (int count = 0; count < 8; ++count)
            helpers.push_back(run());
        for (const auto& helper : helpers)
            QCOMPARE(helper->nextLine(), QByteArray("ready"));
        for (int round = 0; round < rounds(100, 1000); ++round) {
            const qint64 moment = QDateTime::currentMSecsSinceEpoch() + 5;
            for (const auto& helper : helpers)
                helper->tell("claim Flag" + QByteArray::number(round) + ' ' + QByteArray::number(moment));
            int won = 0;
            int lost = 0;
            for (const auto& helper : helpers) {
                const QByteArray answer = helper->nextLine();
                won += answer == "won" ? 1 : 0;
                lost += answer == "lost" ? 1 : 0;
            }
            QCOMPARE(won, 1);
            QCOMPARE(lost, 7);
        }
        for (const auto& helper : helpers)
            QVERIFY(helper->finish());
        QVERIFY(isEmptied());
    }

    // Killed at any moment, even in the middle of a write: no process waits for the dead one, and the flags of others stay.
    void killsDuringWritesLeaveNoOrphan() {
        const auto bystander = run();
        QCOMPARE(bystander->nextLine(), QByteArray("ready"));
        bystander->tell("set Bystander");
        QCOMPARE(bystander->nextLine(), QByteArray("set"));
        for (int round = 0; round < rounds(20, 200); ++round) {
            const auto victim = run("busy");
            QVERIFY(victim->waitForReadyRead(20000));
            QTest::qSleep(static_cast<int>(QRandomGenerator::global()->bounded(1, 20)));
            victim->killNow();
            QVERIFY(!m_state->queryProperty(flag("Busy")));
            QVERIFY(m_state->setUnlessSetElsewhere(flag("Busy")));
            QVERIFY(m_state->queryProperty(flag("Bystander")));
            m_state->deleteProcessState();
        }
        QVERIFY(bystander->finish());
        QVERIFY(isEmptied());
        TestKit::figure("processes killed while they write the shared block", "no orphan, no flag of the dead",
                        QStringLiteral("%1 cycles").arg(rounds(20, 200)));
    }

    void opensInManyProcessesNeverFail() {
        m_state.reset(); // so that the block comes and goes with them
        std::vector<std::unique_ptr<HelperProcess>> helpers;
        for (int count = 0; count < 4; ++count)
            helpers.push_back(run(QString::number(rounds(100, 2500))));
        for (const auto& helper : helpers)
            QVERIFY2(helper->finish(), qPrintable(QStringLiteral("exit code %1").arg(helper->exitCode())
                                                  + QString::fromLocal8Bit(helper->readAllStandardError())));
        QVERIFY(!QFileInfo::exists(m_folder.filePath(m_key)));
        m_state = open(services());
        QVERIFY(m_state->ensureCreated());
        QVERIFY(m_logger->texts(Log::Level::Information).last().startsWith("Created "));
        TestKit::figure("opens of the shared block by 4 processes", "no failed open",
                        QStringLiteral("%1 opens").arg(4 * rounds(100, 2500)));
    }

private:
    [[nodiscard]] std::unique_ptr<HelperProcess> run(const QString& what = {}) const {
        return std::make_unique<HelperProcess>("state_helper", QStringList{m_key, m_folder.path(), what});
    }
    [[nodiscard]] std::unique_ptr<ProcessState> open(ProcessStateDependencies services) const {
        auto state = std::make_unique<ProcessState>(std::move(services));
        state->setKey(m_key);
        return state;
    }
    [[nodiscard]] ProcessStateDependencies services() const { return systemProcessStateDependencies(m_folder.path(), m_logger); }
    [[nodiscard]] bool isEmptied() const { return m_state->dump({}).contains("Processes (0):"); }

    QTemporaryDir m_folder;
    QString m_key;
    std::shared_ptr<TestKit::RecordingLogger> m_logger = std::make_shared<TestKit::RecordingLogger>();
    std::unique_ptr<ProcessState> m_state;
};

QTEST_GUILESS_MAIN(ProcessStateProcessTest)
#include "ProcessStateProcessTest.moc"
