// Whoever holds the lock of the login state file may die or stand still: the next one goes on soon, or says that it cannot.

#include "TestKit/Platform/ProcessStop.h"
#include "TestKit/SaveHelper.h"
#include "TestKit/Soak.h"
#include "TestKit/StateProcess.h"

#include <QElapsedTimer>
#include <QtTest>

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
        m_holder = std::make_unique<SaveHelper>(QStringList{QStringLiteral("hold"), m_fixture->folder.path(),
                                                            m_fixture->keyFolder, QStringLiteral("demo-product-0001")});
        QVERIFY(m_holder->isReady());
    }

    void cleanup() {
        m_holder.reset();
        m_process.reset();
    }

    void aHolderThatWasKilledDelaysNobody() {
        QElapsedTimer timer;
        timer.start();
        m_holder->killNow();
        QCOMPARE(save(), LoginStateSaver::Result::Saved);
        TestKit::figure(QStringLiteral("first save after the holder of the lock was killed"), QStringLiteral("< 2 s"),
                        QStringLiteral("%1 ms").arg(timer.elapsed()));
        QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
    }

    void aHolderThatStandsStillIsNotWaitedForWithoutEnd() {
        QVERIFY(TestKit::stopProcess(m_holder->processId()));
        const QByteArray before = m_fixture->fileContents();
        QElapsedTimer timer;
        timer.start();
        {
            const LoginStateFile::Guard guard(m_process->core.file, briefMs);
            QVERIFY(!guard.isHeld());
        }
        QVERIFY2(timer.elapsed() >= briefMs && timer.elapsed() < briefMs + 2000, qPrintable(QString::number(timer.elapsed())));
        QVERIFY(m_fixture->hasLogged(QStringLiteral("another process holds it for more than %1 ms").arg(briefMs)));
        if (TestKit::isSoak())
            saveIsBusy();
        QCOMPARE(m_fixture->fileContents(), before);
        QVERIFY(TestKit::continueProcess(m_holder->processId()));
        m_holder->closeWriteChannel();
        QVERIFY(m_holder->waitForFinished(10000));
        QCOMPARE(save(), LoginStateSaver::Result::Saved);
        QVERIFY(m_fixture->fileContents() != before);
    }

    // Whoever is the next to have the lock, and does not come to take it, does not keep it from the others.
    void aWaiterThatStandsStillDelaysNobody() {
        SaveHelper waiter(
            {QStringLiteral("obey"), m_fixture->folder.path(), m_fixture->keyFolder, QStringLiteral("demo-product-0001")});
        QTest::qWait(700);
        QVERIFY(TestKit::stopProcess(waiter.processId()));
        m_holder->closeWriteChannel();
        QVERIFY(m_holder->waitForFinished(10000));
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(save(), LoginStateSaver::Result::Saved);
        QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
        QVERIFY(TestKit::continueProcess(waiter.processId()));
        QVERIFY(waiter.isReady());
    }

private:
    LoginStateSaver::Result save() {
        m_process->takeTokens(SaveHelper::dateOf(++m_number));
        return LoginStateSaver(m_process->core).save();
    }

    void saveIsBusy() {
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(save(), LoginStateSaver::Result::Failed);
        TestKit::figure(QStringLiteral("save while the holder of the lock stands still"), QStringLiteral("fails within 12 s"),
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
