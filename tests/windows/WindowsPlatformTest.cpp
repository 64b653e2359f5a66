#include "TestKit/RecordingLogger.h"
#include "VqUtil/Files/AtomicFile.h"
#include "VqUtil/Files/FileAccess.h"
#include "VqUtil/Locks/NamedSemaphore.h"
#include "VqUtil/Locks/ProcessGuard.h"
#include "VqUtil/Platform/EventHook.h"
#include "VqUtil/Platform/HostProcess.h"
#include "VqUtil/Platform/SystemProxySettings.h"
#include "VqUtil/Platform/Windows/WindowsHandle.h"

#include <QSystemSemaphore>
#include <QTemporaryDir>
#include <QtTest>
#include <openssl/crypto.h>
#include <thread>

using namespace Velquor;
using namespace Velquor::Util;

/// The system's own objects behind the narrow headers.
class WindowsPlatformTest : public QObject {
    Q_OBJECT

private slots:
    void hookDeliversPostedEvents();
    void replacesWhenTheOtherLetsGo();
    void semaphoreIsTheOneOfQt();
    void repairMakesOne_data();
    void repairMakesOne();
    void guardOutlivesItsHolder();
    void guardsOfOneThread();
    void modules();
    void proxySettings();
};

// A host's own loop: the message is taken from the queue and handed to nobody of Qt's.
void WindowsPlatformTest::hookDeliversPostedEvents() {
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

void WindowsPlatformTest::replacesWhenTheOtherLetsGo() {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("State.xml"));
    QVERIFY(AtomicFile::write(path, "old", nullptr));
    WindowsHandle held(
        ::CreateFileW(path.toStdWString().c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    QVERIFY(held.isValid());
    QVERIFY(writeOwnerOnlyFile(path + QStringLiteral(".new"), "new"));
    QCOMPARE(int(replaceFile(path + QStringLiteral(".new"), path)), int(ReplaceResult::Busy));
    QVERIFY(!writeOwnerOnlyFile(path, "in place"));
    std::thread other([&held] {
        QThread::msleep(300);
        held = WindowsHandle();
    });
    QString error;
    const bool written = AtomicFile::write(path, "newer", &error);
    other.join();
    QVERIFY2(written, qPrintable(error));
    QCOMPARE(AtomicFile::read(path, 100).data, QByteArray("newer"));
}

void WindowsPlatformTest::semaphoreIsTheOneOfQt() {
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

void WindowsPlatformTest::repairMakesOne_data() {
    QTest::addColumn<int>("count");
    QTest::newRow("lost") << 0;
    QTest::newRow("right") << 1;
    QTest::newRow("given back twice") << 2;
}

void WindowsPlatformTest::repairMakesOne() {
    QFETCH(int, count);
    const QString key = QStringLiteral("VqTest repair %1").arg(count);
    QSystemSemaphore theirs(key, count, QSystemSemaphore::Create);
    NamedSemaphore ours(key);
    QVERIFY(ours.repair());
    QCOMPARE(int(ours.acquire(0)), int(NamedSemaphore::Result::Acquired));
    QCOMPARE(int(ours.acquire(0)), int(NamedSemaphore::Result::TimedOut));
}

void WindowsPlatformTest::guardOutlivesItsHolder() {
    const QTemporaryDir folder;
    ProcessGuard theirs(QStringLiteral("Guard"), folder.path());
    ProcessGuard ours(QStringLiteral("Guard"), folder.path() + QStringLiteral("/"));
    std::thread([&theirs] { (void)theirs.acquire(0); }).join();
    QCOMPARE(int(ours.acquire(1000)), int(ProcessGuard::Result::AcquiredAbandoned));
    ours.release();
    QCOMPARE(int(ours.acquire(0)), int(ProcessGuard::Result::Acquired));
}

// The system itself lets a thread take its own mutex again.
void WindowsPlatformTest::guardsOfOneThread() {
    const QTemporaryDir folder;
    ProcessGuard first(QStringLiteral("Guard"), folder.path());
    ProcessGuard second(QStringLiteral("Guard"), folder.path());
    ProcessGuard elsewhere(QStringLiteral("Guard"), folder.filePath(QStringLiteral("other")));
    QCOMPARE(int(first.acquire(0)), int(ProcessGuard::Result::Acquired));
    QCOMPARE(int(second.acquire(10)), int(ProcessGuard::Result::TimedOut));
    QCOMPARE(int(elsewhere.acquire(0)), int(ProcessGuard::Result::Acquired));
    std::thread([&second] { QCOMPARE(int(second.acquire(10)), int(ProcessGuard::Result::TimedOut)); }).join();
    first.release();
    QCOMPARE(int(second.acquire(0)), int(ProcessGuard::Result::Acquired));
}

void WindowsPlatformTest::modules() {
    const QString folder = QCoreApplication::applicationDirPath();
    QCOMPARE(fileVersion(folder + QStringLiteral("/VqWebServices.dll")), QStringLiteral("13.4.4.1804"));
    QCOMPARE(fileVersion(hostExecutablePath()), QString());
    QCOMPARE(fileVersion(folder + QStringLiteral("/missing.dll")), QString());
    QCOMPARE(loadedModulePath(QStringLiteral("KERNEL32.DLL")), loadedModulePath(QStringLiteral("kernel32.dll")));
    QVERIFY(loadedModulePath(QStringLiteral("kernel32.dll")).endsWith(QStringLiteral("/kernel32.dll"), Qt::CaseInsensitive));
    QCOMPARE(loadedModulePath(QStringLiteral("VqWebServicesUI.dll")), QString());
    QVERIFY(modulePathOf(OpenSSL_version(OPENSSL_VERSION)).contains(QStringLiteral("/libcrypto")));
}

void WindowsPlatformTest::proxySettings() {
    const QStringList lines = systemProxySettings();
    QCOMPARE(lines.size(), 5);
    QVERIFY2(lines.at(0).startsWith(QStringLiteral("Connection Flags: PROXY_TYPE_")), qPrintable(lines.at(0)));
    QVERIFY(lines.at(4).startsWith(QStringLiteral("Proxy Bypass: ")));
}

QTEST_GUILESS_MAIN(WindowsPlatformTest)
#include "WindowsPlatformTest.moc"
