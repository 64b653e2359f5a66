#pragma once

#include "Session/State/IStateFile.h"
#include "simulation/SimLock.h"

namespace Velquor::Simulation {

/// The login state file on the disk of the machine, with its lock. Other programs may hold it for a while.
///
/// Thread: the director or the running actor. Owner: the run, for longer than the processes.
struct Disk {
    explicit Disk(World& world)
        : lock(world, "the file") {}

    QByteArray text;
    qint64 modifiedUs = 0;
    quint64 writes = 0; ///< 0: there is no file.
    SimLock lock;
    qint64 lockedUntilUs = 0;     ///< A program outside of the simulation holds the lock.
    qint64 unreadableUntilUs = 0; ///< Nobody can open the file.
    qint64 fullUntilUs = 0;       ///< There is no room for another text.
    int refusedLocks = 0;
    int failedReads = 0;
    int failedWrites = 0;
};

/// The file as one process sees it. What a killed process does has no effect.
///
/// Thread: actors. Owner: the process's session. Errors: as of IStateFile.
class SimFile final : public WebServices::Internal::IStateFile {
public:
    SimFile(World& world, Disk& disk, const Process& process)
        : m_world(world)
        , m_disk(disk)
        , m_process(process) {}

    [[nodiscard]] std::unique_ptr<ILock> lock(int timeoutMs) override;
    [[nodiscard]] std::unique_ptr<ILock> tryLock(int timeoutMs) override { return lock(timeoutMs); }
    [[nodiscard]] QString path() const override { return QStringLiteral("LoginState.xml"); }
    [[nodiscard]] bool exists() const override { return m_disk.writes > 0; }
    [[nodiscard]] Util::FileStamp stamp() const override;
    [[nodiscard]] Util::AtomicFile::ReadResult read(qint64 maximumSize) override;
    [[nodiscard]] Util::Result<void> write(const QByteArray& text) override;
    [[nodiscard]] QString setAside() override { return {}; }
    [[nodiscard]] bool hasLeftovers() const override { return false; }

private:
    World& m_world;
    Disk& m_disk;
    const Process& m_process;
};

} // namespace Velquor::Simulation
