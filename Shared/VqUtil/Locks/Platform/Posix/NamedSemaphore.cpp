#include "VqUtil/Locks/NamedSemaphore.h"

#include "VqUtil/Platform/Posix/FileDescriptor.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/stat.h>
#include <utility>

namespace Velquor::Util {

namespace {

constexpr int maximumRemovals = 5;

union SemaphoreArgument {
    int val;
    struct semid_ds* buf;
};

int refused(int fault) {
    errno = fault;
    return -1;
}

// As `ftok` makes it for Qt. The temporary folder is open to all users: a link there, or another user's file, is not ours.
key_t keyOf(const QByteArray& keyFile) {
    const FileDescriptor file(::open(keyFile.constData(), O_RDONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600));
    struct stat info {};
    if (!file.isValid() || ::fstat(file.get(), &info) != 0)
        return -1;
    if (!S_ISREG(info.st_mode) || info.st_uid != ::geteuid())
        return refused(EPERM);
    return ::ftok(("/proc/self/fd/" + QByteArray::number(file.get())).constData(), 'Q');
}

} // namespace

struct NamedSemaphore::Native {
    QByteArray keyFile;
    int heldId = -1;
    int knownId = -1;
    struct stat known {}; ///< The key file of `knownId`.

    // -1 with the reason in `errno`. A name for another file leads to another object. When an object is removed, the system
    // refuses its id from then on.
    [[nodiscard]] int id() {
        struct stat named {};
        const bool isNamed = ::lstat(keyFile.constData(), &named) == 0;
        if (knownId != -1 && isNamed && named.st_ino == known.st_ino && named.st_dev == known.st_dev)
            return knownId;
        known = named;
        knownId = lookUp();
        return knownId;
    }

    // -1 with the reason in `errno`.
    [[nodiscard]] int lookUp() const {
        const key_t key = keyOf(keyFile);
        if (key == -1)
            return -1;
        const int created = ::semget(key, 1, 0600 | IPC_CREAT | IPC_EXCL);
        if (created == -1)
            return errno == EEXIST ? ownId(::semget(key, 1, 0600)) : -1;
        return setCount(created, 1) ? created : -1;
    }

    // Another user may have made an object of this key, since the key of a file can be computed. Its maker can change it.
    static int ownId(int id) {
        struct semid_ds info {};
        SemaphoreArgument argument{};
        argument.buf = &info;
        if (id == -1 || ::semctl(id, 0, IPC_STAT, argument) != 0)
            return -1;
        return info.sem_perm.uid == ::geteuid() && info.sem_perm.cuid == ::geteuid() ? id : refused(EPERM);
    }

    static bool setCount(int id, int count) {
        SemaphoreArgument argument{};
        argument.val = count;
        return ::semctl(id, 0, SETVAL, argument) == 0;
    }
};

NamedSemaphore::NamedSemaphore(const QString& key)
    : m_native(new Native) {
    // The temporary folder is shared by all users, but another user's semaphore cannot be opened. So the key names the user.
    const QString userKey = key + QLatin1Char('.') + QString::number(::getuid());
    m_native->keyFile = QFile::encodeName(QDir::tempPath() + QLatin1Char('/') + qtSemaphoreName(userKey));
}

NamedSemaphore::~NamedSemaphore() = default;

NamedSemaphore::Result NamedSemaphore::acquire(int timeoutMs) {
    struct sembuf take {
        0, -1, SEM_UNDO
    };
    const QDeadlineTimer deadline(timeoutMs);
    int removals = 0;
    for (;;) {
        const qint64 leftMs = deadline.remainingTime();
        const struct timespec limit { leftMs / 1000, (leftMs % 1000) * 1000000L };
        const int id = m_native->id();
        if (id != -1 && ::semtimedop(id, &take, 1, &limit) == 0) {
            m_native->heldId = id;
            return Result::Acquired;
        }
        const int fault = errno;
        if (fault == EAGAIN || (fault == EINTR && deadline.hasExpired()))
            return Result::TimedOut;
        // Another process may remove the object while we wait. Retry, but not for ever: repeated removals are not by chance.
        const bool removed = fault == EIDRM || fault == EINVAL || fault == ENOENT;
        m_native->knownId = -1;
        if (fault == EINTR || (removed && ++removals < maximumRemovals))
            continue;
        m_errorText = qt_error_string(fault);
        return Result::Failed;
    }
}

void NamedSemaphore::release() {
    struct sembuf give {
        0, 1, SEM_UNDO
    };
    // Only the object that was acquired: a new one created since then has its full count already.
    ::semop(std::exchange(m_native->heldId, -1), &give, 1);
}

NamedSemaphore::LastUser NamedSemaphore::lastUser() const {
    const pid_t process = ::semctl(m_native->id(), 0, GETPID);
    if (process == -1)
        return LastUser::Unknown;
    return process > 0 && (::kill(process, 0) == 0 || errno == EPERM) ? LastUser::Alive : LastUser::Gone;
}

bool NamedSemaphore::repair() {
    return Native::setCount(m_native->id(), 1);
}

} // namespace Velquor::Util
