#include "Tokens/Refresh/RefreshEventFilter.h"

#include "VqUtil/ProcessState/SharedBlock.h"

#include <QCoreApplication>
#include <QDataStream>
#include <QIODevice>
#include <utility>

namespace Velquor::WebServices::Internal {

namespace {

constexpr int blockSize = 1024;
const auto blockKey = QStringLiteral("Velquor.WebServices.TokenRefresher");

} // namespace

RefreshEventFilter::RefreshEventFilter(const QString& folder, std::shared_ptr<Log::ILogger> logger)
    : m_logger(std::move(logger))
    , m_block(Util::openSharedBlock(blockKey, Util::sharedBlockFolder(folder))) {}

bool RefreshEventFilter::ensureCreated() {
    using Result = Util::ISharedBlock::Result;
    if (m_block->isAttached() || m_block->attach() == Result::Done || m_block->create(blockSize) == Result::Done
        || m_block->attach() == Result::Done)
        return true;
    m_logger->error(QStringLiteral("Failed to create shared memory %1").arg(blockKey));
    return false;
}

void RefreshEventFilter::show(const QString& consumerKey) {
    if (!ensureCreated())
        return;
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_5_15);
    stream << consumerKey << QCoreApplication::applicationPid();
    // The block locks itself against readers; the last of two writers wins.
    if (bytes.size() <= m_block->size() && !m_block->write(bytes))
        m_logger->warning(QStringLiteral("Failed to write shared memory %1. %2").arg(blockKey, m_block->errorText()));
}

void RefreshEventFilter::clear() {
    if (m_block->isAttached() && !m_block->write(QByteArray(m_block->size(), '\0')))
        m_logger->warning(QStringLiteral("Failed to write shared memory %1. %2").arg(blockKey, m_block->errorText()));
}

} // namespace Velquor::WebServices::Internal
