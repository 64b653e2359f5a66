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

bool ProcessStateBlock::ensureCreated() {
    auto result = ISharedBlock::Result::AlreadyThere;
    for (int attempt = 0; attempt < maximumAttempts && result == ISharedBlock::Result::AlreadyThere; ++attempt) {
        if (attachIfThere())
            return true;
        result = m_block->create(newBlockSize);
    }
    if (result != ISharedBlock::Result::Done) {
        m_logger->error(QStringLiteral("Failed to create process state shared memory %1").arg(m_key));
        return false;
    }
    logOnce(
        QStringLiteral("Created process state shared memory %1. Shared memory size: %2 bytes.").arg(m_key).arg(m_block->size()));
    return true;
}

bool ProcessStateBlock::attachIfThere() {
    if (m_block->isAttached())
        return true;
    if (m_block->attach() != ISharedBlock::Result::Done)
        return false;
    logOnce(QStringLiteral("Using process state shared memory %1 created by another process. Shared memory size: %2 bytes.")
                .arg(m_key)
                .arg(m_block->size()));
    return true;
}

const ProcessRecords& ProcessStateBlock::records() {
    if (!attachIfThere()) {
        m_seen.clear();
        m_records.clear();
        m_used = 0;
    } else if (m_seen.isEmpty() || !m_block->startsWith(m_seen)) {
        remember(m_block->read());
    }
    return m_records;
}

void ProcessStateBlock::remember(const QByteArray& bytes) {
    ProcessStateCodec::Decoded decoded = ProcessStateCodec::decode(bytes);
    m_seen = bytes.left(decoded.examined);
    m_records = std::move(decoded.records);
    m_used = decoded.used;
}

void ProcessStateBlock::write(const ProcessRecords& records) {
    if (!ensureCreated())
        return;
    const int size = m_block->size();
    QByteArray bytes = ProcessStateCodec::encode(records, size);
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
