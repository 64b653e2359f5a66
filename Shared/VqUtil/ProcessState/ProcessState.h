#pragma once

#include "VqUtil/Locks/CrossProcessLock.h"
#include "VqUtil/ProcessState/ProcessStateBlock.h"
#include "VqUtil/ProcessState/ProcessStateDependencies.h"

#include <QMutex>
#include <QStringList>
#include <functional>
#include <memory>

namespace Velquor::Util {

/// The flags that the processes of one user publish, so that one of them sends a request for all.
///
/// Every operation is atomic among the processes: it holds the semaphore of the block while it reads and writes. The flags of a
/// dead process are ignored. Thread: any. Owner: the manager of the library.
/// Errors: when the block is missing, or its semaphore is not free within two seconds, a query finds nothing, a change does
/// nothing and one log line says so. The process then works as if it were alone.
class ProcessState {
public:
    explicit ProcessState(ProcessStateDependencies dependencies);
    ~ProcessState();
    ProcessState(const ProcessState&) = delete;
    ProcessState& operator=(const ProcessState&) = delete;

    /// Detaches from the block of the previous key. Does nothing for an empty key.
    void setKey(const QString& key);
    bool ensureCreated();

    /// True when one other live process has all of these properties. Texts are compared ignoring case. False for an empty map.
    [[nodiscard]] bool queryProperty(const ProcessProperties& properties);
    /// Always true.
    bool setPropertyMap(const ProcessProperties& properties);
    /// Query and set in one step. False, without setting, when another live process has all of these properties.
    [[nodiscard]] bool setUnlessSetElsewhere(const ProcessProperties& properties);
    void deleteProperty(const QString& key);
    void deletePropertiesInAllProcesses(const QStringList& keys);
    /// Removes the record of this process.
    void deleteProcessState();

    [[nodiscard]] QStringList dump(const QString& context);

private:
    class Section;

    void leaveBlock();
    [[nodiscard]] bool isSetElsewhere(const ProcessProperties& properties);
    void setOwn(const ProcessProperties& properties, const QString& context);
    /// Calls `edit` with the records of the live processes and writes them when it returns true. Without a block it does nothing.
    void change(const QString& context, const std::function<bool(ProcessRecords&)>& edit);
    [[nodiscard]] bool isAlive(const ProcessRecord& record) const;
    [[nodiscard]] ProcessRecords liveRecords();
    void logDump(const QString& context);
    [[nodiscard]] QStringList dumpLines(const QString& context);
    [[nodiscard]] bool isDebugEnabled() const { return m_dependencies.logger->isEnabled(Log::Level::Debug); }

    const ProcessStateDependencies m_dependencies;
    QMutex m_mutex;
    std::unique_ptr<CrossProcessLock> m_lock;
    std::unique_ptr<ProcessStateBlock> m_block;
};

} // namespace Velquor::Util
