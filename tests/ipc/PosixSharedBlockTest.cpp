#include "TestKit/Test.h"
#include "VqUtil/ProcessState/ProcessLiveness.h"
#include "VqUtil/ProcessState/SharedBlock.h"

#include <csignal>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Velquor::Util;
using Result = ISharedBlock::Result;

/// The file that serves as shared memory, and what can happen to a file.
class PosixSharedBlockTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void theBlockGoesWithItsLastProcess() {
        auto first = open();
        QCOMPARE(first->attach(), Result::Missing);
        QCOMPARE(first->create(4096), Result::Done);
        struct stat info {};
        QCOMPARE(::stat(QFile::encodeName(path()).constData(), &info), 0);
        QCOMPARE(info.st_mode & 0777, 0600U);
        QVERIFY(info.st_blocks * 512 >= 4096); // a full disk is found out now, not at a write
        auto second = open();
        QCOMPARE(second->create(8192), Result::AlreadyThere);
        QCOMPARE(second->attach(), Result::Done);
        QCOMPARE(second->size(), 4096);
        QVERIFY(second->write("hello") && first->startsWith("hello") && !first->startsWith("hullo"));
        first.reset();
        QCOMPARE(open()->attach(), Result::Done);
        second.reset();
        QVERIFY(!QFile::exists(path()));
    }

    // All processes crashed: what they left says nothing of processes that have their ids now.
    void aLeftoverBlockCountsAsMissing() {
        QVERIFY(makeFile(QByteArray(500, 'x')));
        auto block = open();
        QCOMPARE(block->attach(), Result::Missing);
        QCOMPARE(block->create(4096), Result::Done);
        QCOMPARE(block->read(), QByteArray(4096, '\0'));
    }

    void aRemovedBlockIsCreatedAgain() {
        auto first = open();
        QCOMPARE(first->create(4096), Result::Done);
        QVERIFY(QFile::remove(path()));
        auto second = open();
        QCOMPARE(second->create(4096), Result::Done);
        QVERIFY(!first->isAttached());
        QCOMPARE(first->attach(), Result::Done);
        QVERIFY(second->write("news") && first->startsWith("news"));
    }

    void aCutBlockDoesNotCrash() {
        auto block = open();
        QCOMPARE(block->create(65536), Result::Done);
        QVERIFY(block->write("abcdef"));
        QCOMPARE(::truncate(QFile::encodeName(path()).constData(), 3), 0);
        QVERIFY(!block->startsWith("abcdef"));
        QCOMPARE(block->read(), QByteArray("abc"));
        QVERIFY(block->write(QByteArray(65536, 'y')));
        QCOMPARE(block->read(), QByteArray(65536, 'y'));
    }

    void aBlockOfAnotherSizeIsJoined() {
        QVERIFY(makeFile(QByteArray(300, 'z')));
        QFile file(path());
        QVERIFY(file.open(QIODevice::ReadWrite));
        QCOMPARE(::flock(file.handle(), LOCK_SH), 0); // as another process of ours that is attached
        auto block = open();
        QCOMPARE(block->attach(), Result::Done);
        QCOMPARE(block->size(), 300);
        QCOMPARE(block->read(), QByteArray(300, 'z'));
    }

    void blocksOfOthersAreRefused() {
        const Velquor::TestKit::Rows row(this, [&](const std::function<bool()>& makeIt, bool isThere) {
            QVERIFY(makeIt());
            auto block = open();
            QVERIFY(block->attach() != Result::Done);
            QCOMPARE(block->create(4096), Result::Failed);
            QVERIFY(!block->errorText().isEmpty() && !block->isAttached());
            block.reset();
            QCOMPARE(QFileInfo::exists(path()), isThere);
        });
        row(
            "open to others", [&] { return makeFile("theirs") && ::chmod(QFile::encodeName(path()).constData(), 0666) == 0; },
            true);
        const auto link = [&] { return QFile::rename(path(), path() + '2') && QFile::link(path() + '2', path()); };
        row(
            "link", [&] { return makeFile("theirs") && link(); }, true);
        row(
            "folder", [&] { return QDir().mkdir(path()); }, true);
        row(
            "no folder", [&] { return m_folder->remove(); }, false);
    }

    void onlyAPrivateRuntimeFolderIsUsed() {
        const Velquor::TestKit::Rows row(this, [&](int mode, bool used) {
            const QString runtime = m_folder->filePath("runtime");
            if (mode != 0)
                QVERIFY(QDir().mkdir(runtime) && ::chmod(QFile::encodeName(runtime).constData(), static_cast<mode_t>(mode)) == 0);
            const QByteArray before = qgetenv("XDG_RUNTIME_DIR");
            qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime));
            const QString found = sharedBlockFolder("/data");
            qputenv("XDG_RUNTIME_DIR", before);
            QCOMPARE(found, used ? runtime : QStringLiteral("/data"));
        });
        row("the user's alone", 0700, true);
        row("readable by others", 0755, false);
        row("missing", 0, false);
    }

    void aZombieCountsAsDead() {
        const pid_t child = ::fork();
        if (child == 0) {
            ::pause();
            ::_exit(0);
        }
        QVERIFY(child > 0);
        const bool lived = isProcessAlive(child, ownExecutablePath()) && isProcessAlive(child, QString());
        ::kill(child, SIGKILL);
        siginfo_t info{};
        QCOMPARE(::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT), 0);
        const bool livesAsZombie = ::kill(child, 0) == 0 && isProcessAlive(child, QString());
        QCOMPARE(::waitpid(child, nullptr, 0), child);
        QVERIFY(lived && !livesAsZombie && !isProcessAlive(child, QString()));
        for (const qint64 nobody : {Q_INT64_C(0), Q_INT64_C(-1), Q_INT64_C(0x100000000) + ::getpid(), ~Q_INT64_C(0)})
            QVERIFY(!isProcessAlive(nobody, QString()));
    }

    // An update replaces the program while it runs.
    void aReplacedProgramStillLives() {
        const QString program = m_folder->filePath("program");
        QVERIFY(QFile::copy("/bin/sleep", program));
        const pid_t child = ::fork();
        if (child == 0) {
            const QByteArray name = QFile::encodeName(program);
            ::execl(name.constData(), name.constData(), "30", nullptr);
            ::_exit(1);
        }
        QVERIFY(child > 0);
        const bool started = QTest::qWaitFor([child, &program] { return isProcessAlive(child, program); }, 5000);
        const bool removed = QFile::remove(program);
        const bool lives = isProcessAlive(child, program);
        ::kill(child, SIGKILL);
        QCOMPARE(::waitpid(child, nullptr, 0), child);
        QVERIFY(started && removed && lives);
    }

private:
    [[nodiscard]] std::unique_ptr<ISharedBlock> open() const { return openSharedBlock("block", m_folder->path()); }
    [[nodiscard]] QString path() const { return m_folder->filePath("block"); }
    [[nodiscard]] bool makeFile(const QByteArray& bytes) const {
        return Velquor::TestKit::writeFile(path(), bytes) && ::chmod(QFile::encodeName(path()).constData(), 0600) == 0;
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(PosixSharedBlockTest)
#include "PosixSharedBlockTest.moc"
