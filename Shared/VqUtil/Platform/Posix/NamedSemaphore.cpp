#include "VqUtil/Platform/NamedSemaphore.h"

#include "VqUtil/Platform/Posix/FileDescriptor.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <sys/ipc.h>
#include <sys/sem.h>

namespace Velquor::Util {

namespace {

union SemaphoreArgument {
    int val;
};

} // namespace

struct NamedSemaphore::Native {
    QByteArray keyFile;

    // The kernel's id is looked up for every use: another process may have removed and created the object anew.
    [[nodiscard]] int id() const {
        FileDescriptor(::open(keyFile.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
        const key_t key = ::ftok(keyFile.constData(), 'Q');
        if (key == -1)
            return -1;
        const int created = ::semget(key, 1, 0600 | IPC_CREAT | IPC_EXCL);
        if (created == -1)
            return errno == EEXIST ? ::semget(key, 1, 0600) : -1;
        return setCount(created, 1) ? created : -1;
    }

    static bool setCount(int id, int count) {
        SemaphoreArgument argument{};
        argument.val = count;
        return ::semctl(id, 0, SETVAL, argument) == 0;
    }
};

NamedSemaphore::NamedSemaphore(const QString& key)
    : m_native(new Native) {
    // Another user's objects are out of reach, and the temporary folder is everybody's: the key names the user.
    const QString userKey = key + QLatin1Char('.') + QString::number(::getuid());
    m_native->keyFile = QFile::encodeName(QDir::tempPath() + QLatin1Char('/') + qtSemaphoreName(userKey));
}

NamedSemaphore::~NamedSemaphore() = default;

NamedSemaphore::Result NamedSemaphore::acquire(int timeoutMs) {
    struct sembuf take {0, -1, SEM_UNDO};
    const struct timespec limit {timeoutMs / 1000, (timeoutMs % 1000) * 1000000L};
    int result = -1;
    // A signal, or an object removed under us, costs another attempt; more than a few would not be chance.
    for (int attempt = 0; attempt < 5; ++attempt) {
        result = ::semtimedop(m_native->id(), &take, 1, &limit);
        if (result == 0)
            return Result::Acquired;
        if (errno != EINTR && errno != EIDRM && errno != EINVAL)
            break;
    }
    if (errno == EAGAIN)
        return Result::TimedOut;
    m_errorText = qt_error_string(errno);
    return Result::Failed;
}

void NamedSemaphore::release() {
    struct sembuf give {0, 1, SEM_UNDO};
    ::semop(m_native->id(), &give, 1);
}

bool NamedSemaphore::repair() { return Native::setCount(m_native->id(), 1); }

QString qtSemaphoreName(const QString& key) {
    QString name = QStringLiteral("qipc_systemsem_");
    for (const QChar letter : key) {
        if ((letter >= QLatin1Char('A') && letter <= QLatin1Char('Z')) || (letter >= QLatin1Char('a') && letter <= QLatin1Char('z')))
            name += letter;
    }
    return name + QLatin1String(QCryptographicHash::hash(key.toUtf8(), QCryptographicHash::Sha1).toHex());
}

} // namespace Velquor::Util
