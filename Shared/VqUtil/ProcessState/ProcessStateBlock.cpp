#include "VqUtil/ProcessState/ProcessStateBlock.h"

#include "VqUtil/ProcessState/ProcessStateCodec.h"

#include <utility>

namespace Velquor::Util {

namespace {
constexpr int newBlockSize = 65536;
// Attach and create fail in turn only when another process creates and removes the block in between.
constexpr int maximumAttempts = 3;
} // namespace

ProcessStateBlock::ProcessStateBlock(const QString& key, std::unique_ptr<ISharedBlock> block,
                                     std::shared_ptr<Log::ILogger> logger)
    : m_key(key)
    , m_block(std::move(block))
    , m_logger(std::move(logger)) {}

void ProcessStateBlock::look() {
    m_isAttached = m_block->isAttached() || attach();
    if (!m_isAttached)
        forget();
    else if (m_seen.isEmpty() || !m_block->startsWith(m_seen))
        remember(m_block->read());
}

bool ProcessStateBlock::ensureCreated() {
    for (int attempt = 0; attempt < maximumAttempts && !m_isAttached; ++attempt) {
        const ISharedBlock::Result result = m_block->create(newBlockSize);
        if (result == ISharedBlock::Result::AlreadyThere) {
            look();
            continue;
        }
        if (result != ISharedBlock::Result::Done)
            break;
        m_isAttached = true;
        logOnce(QStringLiteral("Created process state shared memory %1. Shared memory size: %2 bytes.")
                    .arg(m_key)
                    .arg(m_block->size()));
    }
    if (!m_isAttached)
        m_logger->error(QStringLiteral("Failed to create process state shared memory %1").arg(m_key));
    return m_isAttached;
}

bool ProcessStateBlock::attach() {
    if (m_block->attach() != ISharedBlock::Result::Done)
        return false;
    logOnce(QStringLiteral("Using process state shared memory %1 created by another process. Shared memory size: %2 bytes.")
                .arg(m_key)
                .arg(m_block->size()));
    return true;
}

void ProcessStateBlock::remember(const QByteArray& bytes) {
    ProcessStateCodec::Decoded decoded = ProcessStateCodec::decode(bytes);
    m_seen = bytes.left(decoded.examined);
    m_filled = bytes.size();
    while (m_filled > 0 && bytes.at(m_filled - 1) == '\0')
        --m_filled;
    m_records = std::move(decoded.records);
    m_used = decoded.used;
}

void ProcessStateBlock::forget() {
    m_seen.clear();
    m_filled = 0;
    m_records.clear();
    m_used = 0;
}

void ProcessStateBlock::write(const ProcessRecords& records) {
    if (!ensureCreated())
        return;
    const int size = m_block->size();
    // What is no longer used is written as zeros. Most of the block is zeros already.
    QByteArray bytes = ProcessStateCodec::encode(records, m_filled);
    if (bytes.size() > size) {
        m_logger->warning(
            QStringLiteral("Process state size (%1 bytes) exceeds the maximum shared memory size (%2 bytes). Writing only "
                           "what fits and discarding the rest.")
                .arg(bytes.size())
                .arg(size));
        bytes.truncate(size);
    }
    if (m_block->write(bytes))
        remember(bytes);
    else
        m_logger->error(QStringLiteral("Failed to write process state shared memory %1. %2").arg(m_key, m_block->errorText()));
}

void ProcessStateBlock::logOnce(const QString& text) {
    if (!std::exchange(m_isLogged, true))
        m_logger->information(text);
}

} // namespace Velquor::Util
