// The process that holds the lock of the login state file is killed or suspended: the next one gets the lock soon, or fails.

#include "TestKit/Files.h"
#include "TestKit/Platform/ProcessStop.h"
#include "TestKit/SaveHelper.h"
#include "TestKit/StateProcess.h"
#include "TestKit/Test.h"

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;
using TestKit::SaveHelper;

namespace {

constexpr int briefMs = 500;

} // namespace

class StateLockTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_fixture = std::make_unique<TestKit::SessionFixture>();
        m_process = std::make_unique<TestKit::StateProcess>(*m_fixture);
        m_process->restoreAndSignIn();
        m_holder = std::make_unique<SaveHelper>(
            QStringList{"hold", m_fixture->folder.path(), m_fixture->keyFolder, "demo-product-0001"});
        QVERIFY(m_holder->isReady());
    }

    void cleanup() {
        m_holder.reset();
        m_process.reset();
    }

    void aKilledHolderDelaysNobody() {
        const TestKit::Stopwatch timer;
        m_holder->killNow();
        QCOMPARE(save(), LoginStateStore::Result::Saved);
        TestKit::figure("first save after the holder of the lock was killed", "< 2 s",
                        QStringLiteral("%1 ms").arg(timer.elapsed()));
        QVERIFY2(!TestKit::isSoak() || timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
    }

    void aStoppedHolderIsWaitedForWithinALimit() {
        QVERIFY(TestKit::stopProcess(m_holder->processId()));
        const QByteArray before = m_fixture->fileContents();
        const TestKit::Stopwatch timer;
        {
            LockedState state(m_process->core);
            const LoginStateFile::Guard guard(state.file(), briefMs);
            QVERIFY(!guard.isHeld());
        }
        const qint64 elapsed = timer.elapsed();
        QVERIFY2(elapsed >= briefMs && elapsed < briefMs + TestKit::limitMs(2000), qPrintable(QString::number(elapsed)));
        QVERIFY(m_fixture->hasLogged(QStringLiteral("another process holds it for more than %1 ms").arg(briefMs)));
        if (TestKit::isSoak())
            saveIsBusy();
        QCOMPARE(m_fixture->fileContents(), before);
        QVERIFY(TestKit::continueProcess(m_holder->processId()));
        m_holder->closeWriteChannel();
        QVERIFY(m_holder->waitForFinished(10000));
        QCOMPARE(save(), LoginStateStore::Result::Saved);
        QVERIFY(m_fixture->fileContents() != before);
    }

    void aStoppedHolderKeepsNobodySignedOut() {
        QVERIFY(TestKit::stopProcess(m_holder->processId()));
        TestKit::StateProcess next(*m_fixture);
        const TestKit::Stopwatch timer;
        next.restore();
        TestKit::figure("start while the holder of the lock stands still", "< 1 s", QStringLiteral("%1 ms").arg(timer.elapsed()));
        QVERIFY2(!TestKit::isSoak() || timer.elapsed() < 1000, qPrintable(QString::number(timer.elapsed())));
        QVERIFY(next.core.isLoggedIn());
        QVERIFY(TestKit::continueProcess(m_holder->processId()));
    }

    // A product's window asks before each operation. It must not stand still with the other process, nor miss what was written.
    void aStoppedHolderHidesNoChange() {
        QVERIFY(TestKit::stopProcess(m_holder->processId()));
        const QByteArray text = m_fixture->fileContents();
        QVERIFY(Util::AtomicFile::write(m_fixture->file(), text));
        QVERIFY(m_process->core.hasFileChanged());
        m_process->lookAtFile();
        QVERIFY(!m_process->core.hasFileChanged());
        QVERIFY(m_process->core.isLoggedIn());
        // Half a file is none: a program that writes in place is not done.
        QVERIFY(TestKit::writeFile(m_fixture->file(), text.left(text.size() / 2)));
        m_process->lookAtFile();
        QVERIFY(m_process->core.hasFileChanged());
        QVERIFY(m_process->core.isLoggedIn());
        QVERIFY(m_fixture->logger->texts(Log::Level::Error).filter("cross-process lock").isEmpty());
        QVERIFY(TestKit::continueProcess(m_holder->processId()));
    }

    // A suspended process that is next in line does not keep the lock from the others.
    void aStoppedWaiterDelaysNobody() {
        SaveHelper waiter({"obey", m_fixture->folder.path(), m_fixture->keyFolder, "demo-product-0001"});
        QTest::qWait(700);
        QVERIFY(TestKit::stopProcess(waiter.processId()));
        m_holder->closeWriteChannel();
        QVERIFY(m_holder->waitForFinished(10000));
        const TestKit::Stopwatch timer;
        QCOMPARE(save(), LoginStateStore::Result::Saved);
        QVERIFY2(!TestKit::isSoak() || timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
        QVERIFY(TestKit::continueProcess(waiter.processId()));
        QVERIFY(waiter.isReady());
    }

private:
    LoginStateStore::Result save() {
        m_process->takeTokens(SaveHelper::dateOf(++m_number));
        return m_process->save();
    }

    // An operation that saves several times waits once.
    void saveIsBusy() {
        const TestKit::Stopwatch timer;
        for (int round = 0; round < 3; ++round)
            QCOMPARE(save(), LoginStateStore::Result::Failed);
        TestKit::figure("three saves while the holder of the lock stands still", "fails within 12 s",
                        QStringLiteral("%1 ms").arg(timer.elapsed()));
        QVERIFY2(timer.elapsed() < LoginStateFile::patientTimeoutMs + 2000, qPrintable(QString::number(timer.elapsed())));
    }

    std::unique_ptr<TestKit::SessionFixture> m_fixture;
    std::unique_ptr<TestKit::StateProcess> m_process;
    std::unique_ptr<SaveHelper> m_holder;
    int m_number = 0;
};

QTEST_GUILESS_MAIN(StateLockTest)
#include "StateLockTest.moc"
