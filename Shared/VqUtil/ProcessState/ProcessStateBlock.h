#pragma once

#include "VqLog/ILogger.h"
#include "VqUtil/ProcessState/ISharedBlock.h"
#include "VqUtil/ProcessState/ProcessRecord.h"

#include <memory>

namespace Velquor::Util {

/// Reads and writes the records in the shared block, and attaches to it or creates it.
///
/// The decoded records are cached. They stay valid while the block starts with the same bytes, so an unchanged block costs one
/// comparison. This class does not lock and does not check which processes are alive: each operation of the holder takes the lock
/// and calls `look` first.
/// Thread: one at a time, under the lock of the block. Owner: the ProcessState. Errors: no records or false, and one log line.
class ProcessStateBlock {
public:
    ProcessStateBlock(const QString& key, std::unique_ptr<ISharedBlock> block, std::shared_ptr<Log::ILogger> logger);

    /// Attaches when another process has the block, and reads what has changed in it. Does not create the block.
    void look();
    [[nodiscard]] bool ensureCreated();

    // As of the last look or write.
    [[nodiscard]] bool isAttached() const { return m_isAttached; }
    /// All records in the block, including those of dead processes. None when no process has the block.
    [[nodiscard]] const ProcessRecords& records() const { return m_records; }
    /// Creates a missing block first. Data that does not fit is cut off.
    void write(const ProcessRecords& records);

    [[nodiscard]] int size() const { return m_block->size(); }
    /// The size of the records, in bytes.
    [[nodiscard]] int usedSize() const { return m_used; }

private:
    [[nodiscard]] bool attach();
    void remember(const QByteArray& bytes);
    void forget();
    void logOnce(const QString& text);

    const QString m_key;
    const std::unique_ptr<ISharedBlock> m_block;
    const std::shared_ptr<Log::ILogger> m_logger;
    bool m_isAttached = false;
    QByteArray m_seen;
    int m_filled = 0; ///< Behind these bytes are zeros alone.
    ProcessRecords m_records;
    int m_used = 0;
    bool m_isLogged = false;
};

} // namespace Velquor::Util
