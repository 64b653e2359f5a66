// A save whose file cannot be replaced fails and leaves the old file. A file that is held briefly is waited for.

#include "TestKit/StateProcess.h"
#include "TestKit/Test.h"

#include <windows.h>

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

class WindowsSaveFaultTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_fixture = std::make_unique<TestKit::SessionFixture>();
        m_process = std::make_unique<TestKit::StateProcess>(*m_fixture);
        m_process->restoreAndSignIn();
        m_before = m_fixture->fileContents();
        QVERIFY(!m_before.isEmpty());
        m_process->takeTokens(QDateTime::currentDateTimeUtc().addDays(1));
    }

    void cleanup() {
        ::SetFileAttributesW(path().c_str(), FILE_ATTRIBUTE_NORMAL);
        m_process.reset();
    }

    void aSaveFailsWhileAnotherProgramHoldsTheFile() {
        const HANDLE held = hold();
        QVERIFY(held != INVALID_HANDLE_VALUE);
        fails();
        ::CloseHandle(held);
        QCOMPARE(save(), LoginStateStore::Result::Saved);
        QVERIFY(m_fixture->fileContents() != m_before);
    }

    void aSaveWaitsForAFileThatIsHeldBriefly() {
        const HANDLE held = hold();
        QVERIFY(held != INVALID_HANDLE_VALUE);
        std::thread letGo([held] {
            QThread::msleep(400);
            ::CloseHandle(held);
        });
        QCOMPARE(save(), LoginStateStore::Result::Saved);
        letGo.join();
        QVERIFY(m_fixture->fileContents() != m_before);
    }

    void aWriteProtectedFileIsReplacedOrLeftWhole() {
        QVERIFY(::SetFileAttributesW(path().c_str(), FILE_ATTRIBUTE_READONLY));
        // Wine replaces such a file, Windows does not.
        const bool isSaved = save() == LoginStateStore::Result::Saved;
        QCOMPARE(m_fixture->fileContents() != m_before, isSaved);
        TestKit::StateProcess next(*m_fixture);
        next.restore();
        QVERIFY(!next.token("demo-product-0001").isEmpty());
    }

private:
    [[nodiscard]] std::wstring path() const { return QDir::toNativeSeparators(m_fixture->file()).toStdWString(); }

    // As a virus scanner does: others may read the file, but not delete it.
    [[nodiscard]] HANDLE hold() const {
        return ::CreateFileW(path().c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                             nullptr);
    }

    LoginStateStore::Result save() { return m_process->save(); }

    void fails() {
        const TestKit::Stopwatch timer;
        QCOMPARE(save(), LoginStateStore::Result::Failed);
        QVERIFY2(timer.elapsed() < 10000, qPrintable(QString::number(timer.elapsed())));
        QCOMPARE(m_fixture->fileContents(), m_before);
        QVERIFY(m_fixture->hasLogged("Failed to write login state file"));
        QCOMPARE(QDir(m_fixture->folder.path()).entryList({"LoginState.xml.*"}, QDir::Files), QStringList());
    }

    std::unique_ptr<TestKit::SessionFixture> m_fixture;
    std::unique_ptr<TestKit::StateProcess> m_process;
    QByteArray m_before;
};

QTEST_GUILESS_MAIN(WindowsSaveFaultTest)
#include "WindowsSaveFaultTest.moc"
