#pragma once

#include "VqLog/ILogger.h"
#include "VqUtil/ProcessState/ISharedBlock.h"
#include "VqUtil/ProcessState/ProcessRecord.h"

#include <memory>

namespace Velquor::Util {

/// Reads and writes the records in the shared block, and attaches to it or creates it.
///
/// The decoded records are cached. They stay valid while the block starts with the same bytes, so an unchanged block costs one
/// comparison. This class does not lock and does not check which processes are alive.
/// Thread: one at a time, under the lock of the block. Owner: the ProcessState. Errors: no records or false, and one log line.
class ProcessStateBlock {
public:
    ProcessStateBlock(const QString& key, std::unique_ptr<ISharedBlock> block, std::shared_ptr<Log::ILogger> logger);

    [[nodiscard]] bool ensureCreated();
    /// Attaches when another process has the block. Does not create it.
    [[nodiscard]] bool attachIfThere();
    [[nodiscard]] bool isAttached() const { return m_block->isAttached(); }

    /// All records in the block, including those of dead processes. None when no process has the block. Valid until the next
    /// call.
    [[nodiscard]] const ProcessRecords& records();
    /// Creates a missing block first. Data that does not fit is cut off.
    void write(const ProcessRecords& records);

    [[nodiscard]] int size() const { return m_block->size(); }
    /// The size of the records at the last reading, in bytes.
    [[nodiscard]] int usedSize() const { return m_used; }

private:
    void remember(const QByteArray& bytes);
    void logOnce(const QString& text);

    const QString m_key;
    const std::unique_ptr<ISharedBlock> m_block;
    const std::shared_ptr<Log::ILogger> m_logger;
    QByteArray m_seen;
    ProcessRecords m_records;
    int m_used = 0;
    bool m_isLogged = false;
};

} // namespace Velquor::Util
