#include "Session/State/DiskStateFile.h"

#include "VqUtil/Locks/CrossProcessLock.h"

#include <QFileInfo>
#include <utility>

namespace Velquor::WebServices::Internal {

class DiskStateFile::Lock : public IStateFile::ILock {
public:
    Lock(const QString& folder, const std::shared_ptr<Log::ILogger>& logger)
        : m_lock(QStringLiteral("VqWebServicesLoginStateSemaphore"), folder, logger) {}
    ~Lock() override {
        if (m_isHeld)
            m_lock.release();
    }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

    [[nodiscard]] bool isRefused() const { return m_lock.isRefused(); }
    [[nodiscard]] bool isHeld() const { return m_isHeld; }
    void acquire(int timeoutMs) { m_isHeld = m_lock.acquire(timeoutMs); }
    void tryAcquire(int timeoutMs) { m_isHeld = m_lock.tryAcquire(timeoutMs); }

private:
    Util::CrossProcessLock m_lock;
    bool m_isHeld = false;
};

DiskStateFile::DiskStateFile(const QString& path, std::shared_ptr<Log::ILogger> logger)
    : m_path(path)
    , m_folder(QFileInfo(path).path())
    , m_logger(std::move(logger)) {}

std::unique_ptr<IStateFile::ILock> DiskStateFile::lock(int timeoutMs) {
    std::unique_ptr<Lock> made = makeLock();
    made->acquire(timeoutMs);
    return handOut(std::move(made));
}

std::unique_ptr<IStateFile::ILock> DiskStateFile::tryLock(int timeoutMs) {
    std::unique_ptr<Lock> made = makeLock();
    made->tryAcquire(timeoutMs);
    return handOut(std::move(made));
}

std::unique_ptr<DiskStateFile::Lock> DiskStateFile::makeLock() const {
    if (const Util::Result<void> made = Util::ensureOwnerOnlyFolder(m_folder); !made)
        m_logger->error(QStringLiteral("Failed to create folder %1 for the login state file. %2").arg(m_folder, made.reason()));
    return std::make_unique<Lock>(m_folder, m_logger);
}

std::unique_ptr<IStateFile::ILock> DiskStateFile::handOut(std::unique_ptr<Lock> lock) {
    m_isLockRefused = lock->isRefused();
    if (!lock->isHeld())
        return nullptr;
    if (!m_cleaned.exchange(true))
        Util::AtomicFile::removeStaleTemporaries(m_path);
    return lock;
}

bool DiskStateFile::exists() const {
    return QFileInfo::exists(m_path);
}

Util::FileStamp DiskStateFile::stamp() const {
    return Util::fileStamp(m_path);
}

Util::AtomicFile::ReadResult DiskStateFile::read(qint64 maximumSize) {
    return Util::AtomicFile::readOwn(m_path, maximumSize);
}

Util::Result<void> DiskStateFile::write(const QByteArray& text) {
    return Util::AtomicFile::write(m_path, text);
}

QString DiskStateFile::setAside() {
    return Util::AtomicFile::setAside(m_path);
}

bool DiskStateFile::hasLeftovers() const {
    return !Util::AtomicFile::temporaries(m_path).isEmpty();
}

} // namespace Velquor::WebServices::Internal
