#include "VqUtil/ProcessState/ProcessState.h"

#include "VqUtil/ProcessState/ProcessStateDump.h"

#include <QMutexLocker>
#include <algorithm>
#include <mutex>
#include <utility>

namespace Velquor::Util {

namespace {

constexpr int semaphoreTimeoutMs = 2000;

bool isSameValue(const QVariant& one, const QVariant& other) {
    if (one.type() == QVariant::String || other.type() == QVariant::String)
        return one.toString().toLower() == other.toString().toLower();
    return one == other;
}

bool showsAll(const ProcessRecord& record, const ProcessProperties& wanted) {
    for (auto property = wanted.cbegin(); property != wanted.cend(); ++property) {
        const auto found = record.properties.constFind(property.key());
        if (found == record.properties.cend() || !isSameValue(*found, *property))
            return false;
    }
    return true;
}

} // namespace

/// The locks of one operation, first the mutex of this process, then the lock between the processes; with both, the look at the
/// block. Members are destroyed in reverse order, so the mutex is held to the end.
class ProcessState::Section {
public:
    explicit Section(ProcessState& state)
        : m_threads(state.m_mutex)
        , m_lock(state.m_lock && state.m_lock->acquire(semaphoreTimeoutMs) ? state.m_lock.get() : nullptr) {
        if (m_lock)
            state.m_block->look();
    }
    ~Section() {
        if (m_lock)
            m_lock->release();
    }
    Section(const Section&) = delete;
    Section& operator=(const Section&) = delete;

    [[nodiscard]] bool isEntered() const { return m_lock != nullptr; }

private:
    const std::lock_guard<QMutex> m_threads;
    CrossProcessLock* const m_lock;
};

ProcessState::ProcessState(ProcessStateDependencies dependencies)
    : m_dependencies(std::move(dependencies)) {}

ProcessState::~ProcessState() {
    const QMutexLocker threads(&m_mutex);
    leaveBlock();
}

void ProcessState::setKey(const QString& key) {
    if (key.isEmpty())
        return;
    const QMutexLocker threads(&m_mutex);
    leaveBlock();
    m_lock =
        std::make_unique<CrossProcessLock>(key + QStringLiteral(".Semaphore"), m_dependencies.lockFolder, m_dependencies.logger);
    m_block = std::make_unique<ProcessStateBlock>(key, m_dependencies.openBlock(key), m_dependencies.logger);
}

// The last process that detaches removes the block. Hold the lock, so that no other process attaches at that moment.
void ProcessState::leaveBlock() {
    const bool isHeld = m_block && m_block->isAttached() && m_lock->acquire(semaphoreTimeoutMs);
    m_block.reset();
    if (isHeld)
        m_lock->release();
}

bool ProcessState::ensureCreated() {
    const Section section(*this);
    return section.isEntered() && m_block->ensureCreated();
}

bool ProcessState::queryProperty(const ProcessProperties& properties) {
    if (properties.isEmpty())
        return false;
    const Section section(*this);
    if (!section.isEntered())
        return false;
    logDump(QStringLiteral("Query property"));
    return isSetElsewhere(properties);
}

bool ProcessState::setPropertyMap(const ProcessProperties& properties) {
    const Section section(*this);
    if (section.isEntered() && m_block->ensureCreated())
        setOwn(properties, QStringLiteral("Set property map"));
    return true;
}

bool ProcessState::setUnlessSetElsewhere(const ProcessProperties& properties) {
    const Section section(*this);
    // Without the block the flags cannot prevent a second request, and no request at all would be worse.
    if (!section.isEntered() || !m_block->ensureCreated())
        return true;
    logDump(QStringLiteral("Query property"));
    if (!properties.isEmpty() && isSetElsewhere(properties))
        return false;
    setOwn(properties, QStringLiteral("Set property map"));
    return true;
}

void ProcessState::deleteProperty(const QString& key) {
    const Section section(*this);
    if (!section.isEntered())
        return;
    change(QStringLiteral("Delete property"), [this, &key](ProcessRecords& records) {
        const auto own = std::find_if(records.begin(), records.end(), [this](const ProcessRecord& record) {
            return record.processId == m_dependencies.ownProcessId;
        });
        return own != records.end() && own->properties.remove(key) > 0;
    });
}

void ProcessState::deletePropertiesInAllProcesses(const QStringList& keys) {
    const Section section(*this);
    if (!section.isEntered())
        return;
    change(QStringLiteral("Delete properties in all processes"), [&keys](ProcessRecords& records) {
        for (ProcessRecord& record : records) {
            for (const QString& key : keys)
                record.properties.remove(key);
        }
        return true;
    });
}

void ProcessState::deleteProcessState() {
    const Section section(*this);
    if (!section.isEntered())
        return;
    change(QStringLiteral("Delete process state"), [this](ProcessRecords& records) {
        const auto isOwn = [this](const ProcessRecord& record) { return record.processId == m_dependencies.ownProcessId; };
        records.erase(std::remove_if(records.begin(), records.end(), isOwn), records.end());
        return true;
    });
}

QStringList ProcessState::dump(const QString& context) {
    const Section section(*this);
    return section.isEntered() ? dumpLines(context) : processStateDump(context, {});
}

// Checks the process last: that is a system call, and the rest is not.
bool ProcessState::isSetElsewhere(const ProcessProperties& properties) {
    const ProcessRecords& records = m_block->records();
    return std::any_of(records.cbegin(), records.cend(), [this, &properties](const ProcessRecord& record) {
        return record.processId != m_dependencies.ownProcessId && showsAll(record, properties) && isAlive(record);
    });
}

void ProcessState::setOwn(const ProcessProperties& properties, const QString& context) {
    change(context, [this, &properties](ProcessRecords& records) {
        auto own = std::find_if(records.begin(), records.end(),
                                [this](const ProcessRecord& record) { return record.processId == m_dependencies.ownProcessId; });
        if (own == records.end())
            own = records.insert(records.end(), {m_dependencies.ownProcessId, m_dependencies.ownExecutablePath, {}});
        for (auto property = properties.cbegin(); property != properties.cend(); ++property)
            own->properties.insert(property.key(), property.value());
        return true;
    });
}

void ProcessState::change(const QString& context, const std::function<bool(ProcessRecords&)>& edit) {
    const int readCount = m_block->records().size();
    if (!m_block->isAttached())
        return;
    ProcessRecords records = liveRecords();
    const int deadCount = readCount - records.size();
    if (!edit(records))
        return;
    if (deadCount > 0)
        m_dependencies.logger->information(
            QStringLiteral("Removing %1 dead process(es) in process state shared memory").arg(deadCount));
    m_block->write(records);
    logDump(context);
}

bool ProcessState::isAlive(const ProcessRecord& record) const {
    // Not by the number alone: an earlier process may have had it.
    if (record.processId == m_dependencies.ownProcessId && record.executablePath == m_dependencies.ownExecutablePath)
        return true;
    if (m_dependencies.isAlive(record.processId, record.executablePath))
        return true;
    if (isDebugEnabled())
        m_dependencies.logger->debug(QStringLiteral("Found dead process in process state shared memory: %1:%2")
                                         .arg(QString::number(record.processId), record.executablePath));
    return false;
}

ProcessRecords ProcessState::liveRecords() {
    ProcessRecords living;
    for (const ProcessRecord& record : m_block->records()) {
        if (isAlive(record))
            living += record;
    }
    return living;
}

void ProcessState::logDump(const QString& context) {
    if (isDebugEnabled())
        m_dependencies.logger->debug(dumpLines(context).join(QLatin1Char('\n')));
}

QStringList ProcessState::dumpLines(const QString& context) {
    const ProcessRecords records = liveRecords();
    return processStateDump(context, {m_block->isAttached(), m_block->size(), m_block->usedSize(), records});
}

} // namespace Velquor::Util
