#include "TestKit/Platform/SystemFacts.h"
#include "TestKit/RecordingLogger.h"
#include "TestKit/Test.h"
#include "VqUtil/Files/AtomicFile.h"
#include "VqUtil/Files/FileAccess.h"
#include "VqUtil/Locks/NamedSemaphore.h"
#include "VqUtil/Locks/ProcessGuard.h"
#include "VqUtil/Platform/EventHook.h"
#include "VqUtil/Platform/HostProcess.h"
#include "VqUtil/Platform/SystemProxySettings.h"
#include "VqUtil/Platform/Windows/LocalMemory.h"
#include "VqUtil/Platform/Windows/OwnerOnlySecurity.h"
#include "VqUtil/Platform/Windows/WindowsHandle.h"

#include <openssl/crypto.h>
#include <sddl.h>

using namespace Velquor;
using namespace Velquor::Util;

/// The system's own objects behind the narrow headers.
class WindowsPlatformTest : public QObject {
    Q_OBJECT

private slots:
    // A host's own loop takes the message from the queue, and Qt does not see it.
    void hookDeliversPostedEvents() {
        int delivered = 0;
        const auto post = [&] {
            QMetaObject::invokeMethod(
                this, [&delivered] { ++delivered; }, Qt::QueuedConnection);
            ::PostThreadMessageW(::GetCurrentThreadId(), WM_APP, 0, 0);
        };
        const auto look = [](UINT remove) {
            MSG message{};
            return ::PeekMessageW(&message, nullptr, WM_APP, WM_APP, remove) != FALSE;
        };
        post();
        QVERIFY(look(PM_REMOVE));
        QCOMPARE(delivered, 0); // without the hook nothing arrives
        QVERIFY(EventHook::install() && EventHook::install() && EventHook::isInstalled());
        post();
        QVERIFY(look(PM_NOREMOVE));
        QCOMPARE(delivered, 0);
        QVERIFY(look(PM_REMOVE));
        QCOMPARE(delivered, 2);
        EventHook::remove();
        EventHook::remove();
        post();
        QVERIFY(!EventHook::isInstalled() && look(PM_REMOVE));
        QCOMPARE(delivered, 2);
        QCoreApplication::sendPostedEvents();
    }

    void aHeldFileIsReplacedOnceItIsReleased() {
        const QTemporaryDir folder;
        const QString path = folder.filePath("State.xml");
        QVERIFY(AtomicFile::write(path, "old"));
        WindowsHandle held(
            ::CreateFileW(path.toStdWString().c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
        QVERIFY(held.isValid());
        QVERIFY(writeOwnerOnlyFile(path + QStringLiteral(".new"), "new"));
        QCOMPARE(int(replaceFile(path + QStringLiteral(".new"), path).status), int(Replacement::Status::Busy));
        QVERIFY(!writeOwnerOnlyFile(path, "in place"));
        std::thread other([&held] {
            QThread::msleep(300);
            held = WindowsHandle();
        });
        const Result<void> written = AtomicFile::write(path, "newer");
        other.join();
        QVERIFY2(written, qPrintable(written.reason()));
        QCOMPARE(AtomicFile::read(path, 100).data, QByteArray("newer"));
    }

    void theSemaphoreIsTheOneOfQt() {
        const QString key = QStringLiteral("VqTest 1.Semaphore");
        QSystemSemaphore theirs(key, 1, QSystemSemaphore::Open);
        NamedSemaphore ours(key);
        QVERIFY(theirs.acquire());
        QCOMPARE(int(ours.acquire(50)), int(NamedSemaphore::Result::TimedOut));
        QVERIFY(theirs.release());
        QCOMPARE(int(ours.acquire(1000)), int(NamedSemaphore::Result::Acquired));
        ours.release();
        QVERIFY(theirs.acquire() && theirs.release());
    }

    void aRepairedSemaphoreAdmitsOne() {
        const TestKit::Rows row([&](int count) {
            const QString key = QStringLiteral("VqTest repair %1").arg(count);
            QSystemSemaphore theirs(key, count, QSystemSemaphore::Create);
            NamedSemaphore ours(key);
            QVERIFY(ours.repair());
            QCOMPARE(int(ours.acquire(0)), int(NamedSemaphore::Result::Acquired));
            QCOMPARE(int(ours.acquire(0)), int(NamedSemaphore::Result::TimedOut));
        });
        row("lost", 0);
        row("right", 1);
        row("given back twice", 2);
    }

    void aGuardIsTakenOverFromTheDead() {
        const QTemporaryDir folder;
        ProcessGuard theirs("Guard", folder.path());
        ProcessGuard ours("Guard", folder.path() + QStringLiteral("/"));
        std::thread([&theirs] { (void)theirs.acquire(0); }).join();
        QCOMPARE(int(ours.acquire(1000)), int(ProcessGuard::Result::AcquiredAbandoned));
        ours.release();
        QCOMPARE(int(ours.acquire(0)), int(ProcessGuard::Result::Acquired));
    }

    // The system itself lets a thread take its own mutex again.
    void aThreadCannotTakeItsGuardTwice() {
        const QTemporaryDir folder;
        ProcessGuard first("Guard", folder.path());
        ProcessGuard second("Guard", folder.path());
        ProcessGuard elsewhere("Guard", folder.filePath("other"));
        QCOMPARE(int(first.acquire(0)), int(ProcessGuard::Result::Acquired));
        QCOMPARE(int(second.acquire(10)), int(ProcessGuard::Result::TimedOut));
        QCOMPARE(int(elsewhere.acquire(0)), int(ProcessGuard::Result::Acquired));
        std::thread([&second] { QCOMPARE(int(second.acquire(10)), int(ProcessGuard::Result::TimedOut)); }).join();
        first.release();
        QCOMPARE(int(second.acquire(0)), int(ProcessGuard::Result::Acquired));
    }

    void modulesTellTheirVersionAndPath() {
        const QString folder = QCoreApplication::applicationDirPath();
        QCOMPARE(fileVersion(folder + QStringLiteral("/VqWebServices.dll")), QStringLiteral("13.4.4.1804"));
        QCOMPARE(fileVersion(hostExecutablePath()), QString());
        QCOMPARE(fileVersion(folder + QStringLiteral("/missing.dll")), QString());
        QCOMPARE(loadedModulePath("KERNEL32.DLL"), loadedModulePath("kernel32.dll"));
        QVERIFY(loadedModulePath("kernel32.dll").endsWith("/kernel32.dll", Qt::CaseInsensitive));
        QCOMPARE(loadedModulePath("VqWebServicesUI.dll"), QString());
        QVERIFY(modulePathOf(OpenSSL_version(OPENSSL_VERSION)).contains("/libcrypto"));
    }

    void theSystemsProxySettingsAreListed() {
        const QStringList lines = systemProxySettings();
        QCOMPARE(lines.size(), 5);
        QVERIFY2(lines.at(0).startsWith("Connection Flags: PROXY_TYPE_"), qPrintable(lines.at(0)));
        QVERIFY(lines.at(4).startsWith("Proxy Bypass: "));
    }

    // The process that moves a file holds it with the right to delete it, and may lose the processor for longer than a reader
    // tries.
    void readsAFileWhileItIsMovedIntoPlace() {
        const QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("State.xml"));
        QVERIFY(AtomicFile::write(path, "text"));
        constexpr DWORD all = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
        const WindowsHandle mover(::CreateFileW(path.toStdWString().c_str(), DELETE, all, nullptr, OPEN_EXISTING, 0, nullptr));
        QVERIFY(mover.isValid());
        const AtomicFile::ReadResult result = AtomicFile::read(path, 100);
        QVERIFY2(result.status == AtomicFile::ReadResult::Status::Read, qPrintable(result.error));
        QCOMPARE(result.data, QByteArray("text"));
    }

    // A folder that was in order at an earlier call may not be in order now.
    void rightsGivenToOthersAreTakenAwayAtTheNextCall() {
        const TestKit::Rows row([](const QString& rights) {
            const QTemporaryDir parent;
            const QString folder = parent.filePath(QStringLiteral("folder"));
            const std::wstring text = QStringLiteral("D:P%1").arg(rights.arg(currentUserSid())).toStdWString();
            void* descriptor = nullptr;
            QVERIFY(::ConvertStringSecurityDescriptorToSecurityDescriptorW(text.c_str(), SDDL_REVISION_1, &descriptor, nullptr));
            const LocalMemory<void> owned(descriptor);
            for (int round = 0; round < 3; ++round) {
                QVERIFY(ensureOwnerOnlyFolder(folder) && ensureOwnerOnlyFolder(folder));
                QVERIFY(TestKit::isOwnerOnly(folder));
                QVERIFY(::SetFileSecurityW(folder.toStdWString().c_str(), DACL_SECURITY_INFORMATION, descriptor));
                QVERIFY(!TestKit::isOwnerOnly(folder));
            }
            QVERIFY(ensureOwnerOnlyFolder(folder) && TestKit::isOwnerOnly(folder));
        });
        row("everybody may read", "(A;OICI;FA;;;%1)(A;OICI;FR;;;WD)");
        row("everybody may do all", "(A;OICI;FA;;;WD)");
    }
};

QTEST_GUILESS_MAIN(WindowsPlatformTest)
#include "WindowsPlatformTest.moc"
