#pragma once

#include "VqLog/ILogger.h"
#include "VqUtil/ProcessState/ISharedBlock.h"
#include "VqUtil/ProcessState/ProcessRecord.h"

#include <memory>

namespace Velquor::Util {

/// The records in the shared block: attaches to it or creates it, reads, and writes the whole of it.
///
/// The last reading is kept and is good as long as the block starts with the same bytes, so that a look that finds nothing new
/// costs a comparison. Knows nothing of locks and of who is alive.
/// Thread: one at a time, under the lock of the block. Owner: the ProcessState. Errors: no records or false, and one log line.
class ProcessStateBlock {
public:
    ProcessStateBlock(const QString& key, std::unique_ptr<ISharedBlock> block, std::shared_ptr<Log::ILogger> logger);

    [[nodiscard]] bool ensureCreated();
    /// Attaches when another process has the block; creates nothing.
    [[nodiscard]] bool attachIfThere();
    [[nodiscard]] bool isAttached() const { return m_block->isAttached(); }

    /// All records in the block, those of dead processes too; none when nobody has the block. Good until the next call.
    [[nodiscard]] const ProcessRecords& records();
    /// Creates the block first where it is missing. What does not fit is cut.
    void write(const ProcessRecords& records);

    [[nodiscard]] int size() const { return m_block->size(); }
    /// The bytes that the records took up when they were read last.
    [[nodiscard]] int usedSize() const { return m_used; }

private:
    void decode();
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
