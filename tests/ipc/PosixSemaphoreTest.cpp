#include "TestKit/HelperProcess.h"
#include "TestKit/RecordingLogger.h"
#include "TestKit/Test.h"
#include "VqUtil/Locks/CrossProcessLock.h"
#include "VqUtil/Locks/NamedSemaphore.h"
#include "VqUtil/Locks/ProcessGuard.h"

#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Velquor;
using namespace Velquor::Util;
using TestKit::HelperProcess;

/// The kernel object that this library shares with every user of a plain QSystemSemaphore, and what can happen to it.
class PosixSemaphoreTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_folder = std::make_unique<QTemporaryDir>();
        m_logger->clear();
        removeObject();
        QFile::remove(QDir::tempPath() + "/elsewhere");
    }

    void cleanup() { removeObject(); }

    // A program that holds it for longer than its work takes, or that is no program of this user, must not end the sharing.
    void aHolderOfThePlainSemaphoreDelaysForAShortTime() {
        HelperProcess holder("lock_helper", {"hold-plain", plainKey()});
        QCOMPARE(holder.nextLine(), QByteArray("held"));
        CrossProcessLock lock = makeLock();
        for (const int timeout : {0, 300, 60000}) {
            const TestKit::Stopwatch timer;
            QVERIFY(lock.acquire(timeout));
            const qint64 elapsed = timer.elapsed();
            QVERIFY2(elapsed >= qMin(timeout, 900) && elapsed < 1000 + TestKit::limitMs(1500),
                     qPrintable(QString::number(elapsed)));
            CrossProcessLock second = makeLock();
            QVERIFY(!second.acquire(0));
            lock.release();
        }
        QCOMPARE(count(), 0);
        QVERIFY(holder.finish());
        QVERIFY(lock.acquire(1000));
        QCOMPARE(count(), 0);
    }

    void anUnusableKeyFileCostsTheSemaphoreAlone() {
        // link: what the key file's name leads to; the file itself is another user's when there is none
        const TestKit::Rows row(this, [&](const QString& link) {
            const bool isOthers = link.isEmpty() || link == "semaphore";
            constexpr uid_t nobody = 65534;
            CrossProcessLock lock = makeLock();
            // What was found once must not be used when its name leads elsewhere.
            if (!isOthers)
                QVERIFY(lock.acquire(1000));
            lock.release();
            const int id = object(IPC_CREAT);
            if (isOthers) {
                semid_ds owned{};
                owned.sem_perm.uid = nobody;
                owned.sem_perm.mode = 0666;
                QVERIFY(link.isEmpty() ? ::chown(keyFile().constData(), nobody, nobody) == 0
                                       : ::semctl(id, 0, IPC_SET, &owned) == 0);
            } else {
                QVERIFY(::unlink(keyFile().constData()) == 0);
                QVERIFY(::symlink(QFile::encodeName(link).constData(), keyFile().constData()) == 0);
            }
            const TestKit::Stopwatch timer;
            QVERIFY(lock.acquire(60000));
            QVERIFY2(timer.elapsed() < TestKit::limitMs(500), qPrintable(QString::number(timer.elapsed())));
            QCOMPARE(m_logger->texts(Log::Level::Error).size(), 1);
            QVERIFY(!QFile::exists(QDir::tempPath() + "/elsewhere"));
            ::semctl(id, 0, IPC_RMID);
        });
        row("a circle of links", QString::fromLocal8Bit(keyFile()));
        row("a file elsewhere", QDir::tempPath() + "/elsewhere");
        row("a folder", QDir::tempPath());
        if (::geteuid() != 0)
            QSKIP("Only the administrator can make what is another user's");
        row("another user's file", "");
        row("another user's semaphore", "semaphore");
    }

    void aProgramWithThePlainSemaphoreWaitsForUs() {
        CrossProcessLock lock = makeLock();
        QVERIFY(lock.acquire(1000));
        HelperProcess other("lock_helper", {"hold-plain", plainKey()});
        QVERIFY(!other.waitForReadyRead(300));
        lock.release();
        QCOMPARE(other.nextLine(), QByteArray("held"));
        QVERIFY(other.finish());
    }

    void aLeakedCountIsRepaired() {
        CrossProcessLock lock = makeLock();
        QVERIFY(lock.acquire(1000)); // makes the object
        lock.release();
        const int id = object();
        const pid_t child = ::fork();
        if (child == 0) {
            struct sembuf take {
                0, -1, 0
            }; // without undo, as older programs do
            ::_exit(::semop(id, &take, 1));
        }
        int status = -1;
        QVERIFY(::waitpid(child, &status, 0) == child && status == 0);
        QCOMPARE(count(), 0);
        const TestKit::Stopwatch timer;
        QVERIFY(lock.acquire(60000));
        QVERIFY2(timer.elapsed() < TestKit::limitMs(2000), qPrintable(QString::number(timer.elapsed())));
        QCOMPARE(count(), 0);
        lock.release();
        QCOMPARE(count(), 1); // and not 2
        QCOMPARE(m_logger->texts().size(), 1);
        QCOMPARE(m_logger->texts(Log::Level::Warning).size(), 1);
    }

    // A process that died between making the semaphore and setting its count.
    void anUnfinishedCreationIsRepaired() {
        QVERIFY(object(IPC_CREAT) != -1);
        QCOMPARE(count(), 0);
        CrossProcessLock lock = makeLock();
        QVERIFY(lock.acquire(2000));
        lock.release();
        QCOMPARE(count(), 1);
    }

    // QSystemSemaphore removes the object when its creator ends, even while another process holds it.
    void aRemovedSemaphoreLetsNobodyIn() {
        auto creator = std::make_unique<QSystemSemaphore>(plainKey(), 1);
        QVERIFY(creator->acquire() && creator->release());
        CrossProcessLock lock = makeLock();
        QVERIFY(lock.acquire(1000));
        creator.reset();
        NamedSemaphore newcomer(m_key);
        QVERIFY(newcomer.acquire(0) == NamedSemaphore::Result::Acquired); // the format's weakness, which the guard makes up for
        CrossProcessLock second = makeLock();
        QVERIFY(!second.acquire(0));
        lock.release();
        QCOMPARE(count(), 0); // ours went with the old object
        newcomer.release();
        QCOMPARE(count(), 1);
        QVERIFY(lock.acquire(1000));
    }

    void signalsDoNotShortenTheWait() {
        NamedSemaphore holder(m_key);
        QVERIFY(holder.acquire(0) == NamedSemaphore::Result::Acquired);
        struct sigaction action {};
        action.sa_handler = [](int) {};
        QCOMPARE(::sigaction(SIGALRM, &action, nullptr), 0);
        ::ualarm(10000, 10000);
        NamedSemaphore waiter(m_key);
        const TestKit::Stopwatch timer;
        const NamedSemaphore::Result result = waiter.acquire(300);
        const qint64 elapsed = timer.elapsed();
        ::ualarm(0, 0);
        QVERIFY(result == NamedSemaphore::Result::TimedOut);
        QVERIFY2(elapsed >= 295 && elapsed < TestKit::limitMs(600), qPrintable(QString::number(elapsed)));
    }

    // Deleting the lock file must not admit a newcomer together with a process that waited on the old file.
    void aDeletedLockFileLetsOneIn() {
        const QString file = m_folder->filePath("name.lock");
        ProcessGuard first("name", m_folder->path());
        QVERIFY(first.acquire(0) == ProcessGuard::Result::Acquired);
        ProcessGuard second("name", m_folder->path());
        QVERIFY(second.acquire(0) == ProcessGuard::Result::TimedOut);
        QVERIFY(QFile::remove(file));
        QVERIFY(second.acquire(0) == ProcessGuard::Result::Acquired);
        first.release();
        QVERIFY(first.acquire(0) == ProcessGuard::Result::TimedOut);
        QVERIFY(QFile::remove(file) && QDir().mkdir(file));
        ProcessGuard third("name", m_folder->path());
        QVERIFY(third.acquire(100) == ProcessGuard::Result::Failed && !third.errorText().isEmpty());
    }

    // The owner of the folder above may move ours away, and put there what delays whoever opens it.
    void aLockFileOfAnotherUserIsNotTaken() {
        if (::geteuid() != 0)
            QSKIP("Only the administrator can make what is another user's");
        ProcessGuard guard("name", m_folder->path());
        QVERIFY(guard.acquire(0) == ProcessGuard::Result::Acquired);
        guard.release();
        const QByteArray file = QFile::encodeName(m_folder->filePath("name.lock"));
        QVERIFY(QFile::remove(m_folder->filePath("name.lock")) && ::mknod(file.constData(), S_IFREG | 0666, 0) == 0);
        QVERIFY(::chown(file.constData(), 65534, 65534) == 0);
        QCOMPARE(guard.acquire(100), ProcessGuard::Result::Failed);
    }

private:
    [[nodiscard]] CrossProcessLock makeLock() const { return {m_key, m_folder->path(), m_logger}; }
    [[nodiscard]] QString plainKey() const { return m_key + QLatin1Char('.') + QString::number(::getuid()); }
    [[nodiscard]] QByteArray keyFile() const {
        return QFile::encodeName(QDir::tempPath() + QLatin1Char('/') + qtSemaphoreName(plainKey()));
    }
    [[nodiscard]] int object(int flags = 0) const {
        QFile file(QFile::decodeName(keyFile()));
        return file.open(QIODevice::ReadWrite) ? ::semget(::ftok(keyFile().constData(), 'Q'), 1, 0600 | flags) : -1;
    }
    [[nodiscard]] int count() const { return ::semctl(object(), 0, GETVAL); }
    void removeObject() const {
        ::semctl(object(), 0, IPC_RMID);
        ::unlink(keyFile().constData());
    }

    const QString m_key = QStringLiteral("VqPosixSemaphoreTest");
    std::unique_ptr<QTemporaryDir> m_folder;
    std::shared_ptr<TestKit::RecordingLogger> m_logger = std::make_shared<TestKit::RecordingLogger>();
};

QTEST_GUILESS_MAIN(PosixSemaphoreTest)
#include "PosixSemaphoreTest.moc"
