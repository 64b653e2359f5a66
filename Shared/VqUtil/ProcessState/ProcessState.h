#pragma once

#include "VqUtil/Locks/CrossProcessLock.h"
#include "VqUtil/ProcessState/ProcessStateBlock.h"
#include "VqUtil/ProcessState/ProcessStateDependencies.h"

#include <QMutex>
#include <QStringList>
#include <functional>
#include <memory>

namespace Velquor::Util {

/// The flags that the processes of one user show each other, so that one of them asks the network for all.
///
/// Every operation is one whole step among the processes: it holds the semaphore of the block from its first look to its last
/// byte. The flags of a process that has died count for nothing. Thread: any. Owner: the manager of the library.
/// Errors: without the block, or without its semaphore within two seconds, a query finds nothing, a change does nothing
/// and the process works as if it were alone; one log line says so.
class ProcessState {
public:
    explicit ProcessState(ProcessStateDependencies services);
    ~ProcessState();
    ProcessState(const ProcessState&) = delete;
    ProcessState& operator=(const ProcessState&) = delete;

    /// Leaves the block of another key, if there was one. Does nothing for an empty key.
    void setKey(const QString& key);
    bool ensureCreated();

    /// Another live process shows all of these properties. Texts are equal whatever their case. False for an empty map.
    [[nodiscard]] bool queryProperty(const ProcessProperties& properties);
    /// Always true.
    bool setPropertyMap(const ProcessProperties& properties);
    /// Query and set in one step: false, and nothing is set, when another live process shows all of these properties.
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
    /// Hands the records of the living to `edit` and writes them, without the dead, when it returns true. Nothing without a
    /// block.
    void change(const QString& context, const std::function<bool(ProcessRecords&)>& edit);
    [[nodiscard]] bool isAlive(const ProcessRecord& record) const;
    [[nodiscard]] ProcessRecords liveRecords();
    void logDump(const QString& context);
    [[nodiscard]] QStringList dumpLines(const QString& context);
    [[nodiscard]] bool isDebugEnabled() const { return m_services.logger->isEnabled(Log::Level::Debug); }

    const ProcessStateDependencies m_services;
    QMutex m_mutex;
    std::unique_ptr<CrossProcessLock> m_lock;
    std::unique_ptr<ProcessStateBlock> m_block;
};

} // namespace Velquor::Util
