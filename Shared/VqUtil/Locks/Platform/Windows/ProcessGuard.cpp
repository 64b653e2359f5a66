#include "VqUtil/Locks/ProcessGuard.h"

#include "VqUtil/Platform/Windows/OwnerOnlySecurity.h"
#include "VqUtil/Platform/Windows/SystemErrorText.h"
#include "VqUtil/Platform/Windows/WindowsHandle.h"

#include <QCryptographicHash>
#include <QDir>
#include <QHash>
#include <QMutex>
#include <QMutexLocker>
#include <algorithm>

namespace Velquor::Util {

namespace {

/// The thread that holds each guard in this process. It is needed because the owner of a mutex can acquire it again.
class HeldGuards {
public:
    [[nodiscard]] bool isHeldByThisThread(const QString& name) {
        const QMutexLocker lock(&m_mutex);
        return m_threads.value(name) == ::GetCurrentThreadId();
    }
    void add(const QString& name) {
        const QMutexLocker lock(&m_mutex);
        m_threads.insert(name, ::GetCurrentThreadId());
    }
    void remove(const QString& name) {
        const QMutexLocker lock(&m_mutex);
        m_threads.remove(name);
    }

private:
    QMutex m_mutex;
    QHash<QString, DWORD> m_threads;
};

HeldGuards& heldGuards() {
    static HeldGuards guards;
    return guards;
}

// The same folder must give the same name, however its path is written.
QString mutexName(const QString& name, const QString& folder) {
    const QString place = QDir::cleanPath(QDir(folder).absolutePath()).toLower();
    const QByteArray digest = QCryptographicHash::hash((name + QLatin1Char('\n') + place).toUtf8(), QCryptographicHash::Sha1);
    return QStringLiteral("Local\\Velquor.WebServices.Guard.") + QLatin1String(digest.toHex());
}

} // namespace

struct ProcessGuard::Native {
    QString name;
    WindowsHandle mutex;
    bool isHeld = false;

    DWORD open() {
        if (mutex.isValid())
            return ERROR_SUCCESS;
        OwnerOnlySecurity security(OwnerOnlySecurity::Kind::KernelObject);
        mutex = WindowsHandle(::CreateMutexW(security.attributes(), FALSE, name.toStdWString().c_str()));
        const DWORD code = ::GetLastError();
        return mutex.isValid() ? ERROR_SUCCESS : code;
    }
};

ProcessGuard::ProcessGuard(const QString& name, const QString& folder)
    : m_native(new Native) {
    m_native->name = mutexName(name, folder);
}

ProcessGuard::~ProcessGuard() {
    release();
}

ProcessGuard::Result ProcessGuard::acquire(int timeoutMs) {
    DWORD code = m_native->open();
    if (code == ERROR_SUCCESS) {
        const DWORD result = ::WaitForSingleObject(m_native->mutex.get(), static_cast<DWORD>(std::max(timeoutMs, 0)));
        code = ::GetLastError();
        if (result == WAIT_TIMEOUT)
            return Result::TimedOut;
        if (result == WAIT_OBJECT_0 && heldGuards().isHeldByThisThread(m_native->name)) {
            // Another object of this thread holds it and cannot release it during this wait. Report a timeout at once.
            ::ReleaseMutex(m_native->mutex.get());
            return Result::TimedOut;
        }
        if (result == WAIT_OBJECT_0 || result == WAIT_ABANDONED) {
            m_native->isHeld = true;
            heldGuards().add(m_native->name);
            return result == WAIT_ABANDONED ? Result::AcquiredAbandoned : Result::Acquired;
        }
    }
    m_errorText = systemErrorText(code);
    return Result::Failed;
}

void ProcessGuard::release() {
    if (!m_native->isHeld)
        return;
    m_native->isHeld = false;
    heldGuards().remove(m_native->name);
    ::ReleaseMutex(m_native->mutex.get());
}

} // namespace Velquor::Util
