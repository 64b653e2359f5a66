#include "simulation/Library/SimFile.h"

#include <algorithm>

namespace Velquor::Simulation {

namespace {

class Held final : public WebServices::Internal::IStateFile::ILock {
public:
    explicit Held(SimLock& lock)
        : m_lock(lock) {}
    ~Held() override { m_lock.unlock(); }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;

private:
    SimLock& m_lock;
};

} // namespace

std::unique_ptr<WebServices::Internal::IStateFile::ILock> SimFile::lock(int timeoutMs) {
    const qint64 deadlineUs = m_world.nowUs() + timeoutMs * qint64(1000);
    if (m_world.nowUs() < m_disk.lockedUntilUs)
        (void)m_world.waitUntil([this] { return m_world.nowUs() >= m_disk.lockedUntilUs; },
                                std::min(deadlineUs, m_disk.lockedUntilUs), "waits for another program");
    const auto left = std::chrono::microseconds(std::max<qint64>(0, deadlineUs - m_world.nowUs()));
    if (m_world.nowUs() < m_disk.lockedUntilUs || !m_disk.lock.try_lock_for(left)) {
        m_disk.refusedLocks++;
        return nullptr;
    }
    return std::make_unique<Held>(m_disk.lock);
}

Util::FileStamp SimFile::stamp() const {
    return exists() ? Util::FileStamp{m_disk.modifiedUs * 1000, m_disk.text.size(), m_disk.writes} : Util::FileStamp();
}

Util::AtomicFile::ReadResult SimFile::read(qint64) {
    using Result = Util::AtomicFile::ReadResult;
    m_world.yield("reads the file");
    if (!exists())
        return {Result::Status::Missing, {}, {}, false};
    if (m_world.nowUs() < m_disk.unreadableUntilUs) {
        m_disk.failedReads++;
        return {Result::Status::Failed, {}, QStringLiteral("The file cannot be opened."), false};
    }
    return {Result::Status::Read, m_disk.text, {}, false};
}

Util::Result<void> SimFile::write(const QByteArray& text) {
    m_world.yield("writes the file");
    if (m_process.isKilled)
        return {};
    if (m_world.nowUs() < m_disk.unreadableUntilUs)
        return Util::Failure{QStringLiteral("The file cannot be replaced.")};
    if (m_world.nowUs() < m_disk.fullUntilUs) {
        m_disk.failedWrites++;
        return Util::Failure{QStringLiteral("No space left on device.")};
    }
    m_disk.text = text;
    m_disk.modifiedUs = m_world.nowUs();
    m_disk.writes++;
    m_world.yield("has written the file");
    return {};
}

} // namespace Velquor::Simulation
