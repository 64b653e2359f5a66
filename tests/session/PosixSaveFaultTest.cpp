// Each system call of a save fails as on a full, broken or forbidden disk: the file is the old one and the save fails, or it is
// the new one whole.

#include "TestKit/SaveHelper.h"
#include "TestKit/StateProcess.h"
#include "TestKit/Test.h"

using namespace Velquor;
using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;
using TestKit::demoKey;
using TestKit::SaveHelper;

namespace {

struct Call {
    const char* what;
    const char* call;
    QByteArray part; ///< Of the path.
    bool isSaved;
};

} // namespace

class PosixSaveFaultTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        TestKit::StateProcess first(m_fixture);
        first.restore();
        first.signIn("ada", SaveHelper::dateOf(1));
        QCOMPARE(first.save(), LoginStateStore::Result::Saved);
        QProcessEnvironment& environment = m_environment;
        // Before all others, the runtime of a sanitizer too.
        environment.insert("LD_PRELOAD", QString::fromLocal8Bit(VQ_FAULT_SHIM));
        environment.insert("ASAN_OPTIONS", "verify_asan_link_order=0");
        m_helper =
            std::make_unique<SaveHelper>(QStringList{"obey", m_fixture.folder.path(), m_fixture.keyFolder, demoKey}, environment);
        QVERIFY2(m_helper->isReady(), m_helper->readAllStandardError().constData());
    }

    void aFailingSystemCallLeavesTheOldFileOrTheNew() {
        const TestKit::Rows row([&](const QByteArray& fault, bool isSaved) {
            const QByteArray before = m_fixture.fileContents();
            const QByteArray said = m_helper->save(fault);
            const QByteArray faults = m_helper->readAllStandardError();
            QVERIFY2(faults.contains("fault: "), "the fault did not happen");
            QCOMPARE(said, QByteArray(isSaved ? "saved" : "failed"));
            QCOMPARE(m_fixture.fileContents() != before, isSaved);
            QCOMPARE(QDir(m_fixture.folder.path()).entryList({"LoginState.xml.*"}, QDir::Files), QStringList());
            // Nothing stays behind that spoils the next one.
            QCOMPARE(m_helper->save({}), QByteArray("saved"));
            TestKit::SessionFixture fixture(m_fixture.folder.path(), m_fixture.keyFolder);
            TestKit::StateProcess next(fixture, demoKey);
            next.restore();
            QVERIFY(!next.token(demoKey).isEmpty());
            QVERIFY(m_helper->readAllStandardError().isEmpty());
        });
        const QByteArray folder = m_fixture.folder.path().toLocal8Bit() + '$';
        const Call calls[] = {
            {"opening anything", "open", "/", false},
            {"taking the lock", "open", "VqWebServicesLoginStateSemaphore.lock", false},
            {"reading", "open", "/LoginState.xml$", false},
            {"creating the new file", "open", "LoginState.xml.writing-", false},
            {"writing", "write", "LoginState.xml.writing-", false},
            {"writing all but a byte", "short-write", "LoginState.xml.writing-", false},
            {"flushing", "fsync", "LoginState.xml.writing-", false},
            {"moving into place", "rename", "LoginState.xml", false},
            // The move is done by then.
            {"opening the folder", "open", folder, true},
            {"flushing the folder", "fsync", folder, true},
        };
        for (const Call& one : calls) {
            for (const char* const error : {"ENOSPC", "EIO", "EACCES", "EMFILE"})
                row(QByteArray(one.what) + ", " + error, QByteArray(one.call) + ':' + error + ':' + one.part, one.isSaved);
        }
    }

    void whatCannotBeAskedEndsNoSignIn() {
        // first, then: whether the sign-in is used with the fault, and at a second look without it; a key is opened once
        const TestKit::Rows row([&](const QByteArray& fault, const QByteArray& first, const QByteArray& then) {
            const QByteArray before = m_fixture.fileContents();
            QProcessEnvironment environment = m_environment;
            environment.insert("VQ_FAULT", fault);
            TestKit::HelperProcess helper("save_helper", {"read", m_fixture.folder.path(), m_fixture.keyFolder, demoKey},
                                          environment);
            QCOMPARE(helper.nextLine(), first);
            QCOMPARE(helper.nextLine(), then);
            QVERIFY(helper.waitForFinished() && helper.readAllStandardError().contains("fault: "));
            QCOMPARE(m_fixture.fileContents(), before);
            TestKit::SessionFixture fixture(m_fixture.folder.path(), m_fixture.keyFolder);
            TestKit::StateProcess next(fixture, demoKey);
            next.restore();
            QVERIFY(!next.token(demoKey).isEmpty());
        });
        row("the user's name", "getpwuid:EIO:", "no", "yes");
        row("the adapters", "getifaddrs:EMFILE:", "no", "yes");
        row("the key", "open:EMFILE:/UserKey.pem", "no", "no");
        row("the machine's id", "open:EMFILE:/machine-id", "no", "no");
        row("the lock", "open:EACCES:Semaphore.lock", "yes", "yes");
    }

    void aSignInWithUnknownAdaptersIsFoundAgain() {
        QVERIFY(QFile::remove(m_fixture.file()));
        QProcessEnvironment environment = m_environment;
        environment.insert("VQ_FAULT", "getifaddrs:EMFILE:");
        TestKit::HelperProcess helper("save_helper", {"loop", m_fixture.folder.path(), m_fixture.keyFolder, demoKey, "1"},
                                      environment);
        QVERIFY(helper.waitForFinished() && helper.exitCode() == 0);
        TestKit::SessionFixture fixture(m_fixture.folder.path(), m_fixture.keyFolder);
        for (const char* const start : {"with the unknown address", "with the machine's own"}) {
            TestKit::StateProcess next(fixture, demoKey);
            next.restore();
            QVERIFY2(!next.token(demoKey).isEmpty(), start);
            QCOMPARE(next.save(), LoginStateStore::Result::Saved);
        }
    }

private:
    QProcessEnvironment m_environment = QProcessEnvironment::systemEnvironment();
    TestKit::SessionFixture m_fixture;
    std::unique_ptr<SaveHelper> m_helper;
};

QTEST_GUILESS_MAIN(PosixSaveFaultTest)
#include "PosixSaveFaultTest.moc"
