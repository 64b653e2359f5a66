#include "Caches/CacheStorage.h"

#include <QFileInfo>
#include <utility>

namespace Velquor::WebServices::Internal {

CacheStorage::CacheStorage(std::shared_ptr<CacheFile> file, QString nodePath, const CacheLog& log)
    : m_file(std::move(file))
    , m_nodePath(std::move(nodePath))
    , m_log(log) {}

CacheStorage::Value CacheStorage::load(const CacheIdentity& identity) {
    const QString path = m_file->path();
    m_log.information(QStringLiteral("Loading cache from file %1").arg(path));
    CacheRecord record;
    switch (m_file->read(m_nodePath, record)) {
    case CacheFile::ReadResult::Missing:
        m_log.information(QStringLiteral("Cache file %1 not found. Cache will be rebuilt.").arg(path));
        return {};
    case CacheFile::ReadResult::Unreadable:
        m_log.error(QStringLiteral("Failed to open cache file %1. Cache will be rebuilt.").arg(path));
        return {};
    case CacheFile::ReadResult::NoRecord:
        m_log.information(QStringLiteral("Cache file %1 has no value yet").arg(path));
        return {};
    case CacheFile::ReadResult::Found: break;
    }
    if (!accepts(record, identity))
        return {};
    return {record.body.toUtf8(), record.updateDate};
}

bool CacheStorage::accepts(const CacheRecord& record, const CacheIdentity& identity) {
    if (record.server != identity.server) {
        m_log.information(QStringLiteral("Deleting cache file %1 since server has changed").arg(m_file->path()));
        // Only this product's value: other products may use another server.
        if (m_file->remove(m_nodePath) != CacheFile::WriteResult::Done)
            m_log.error(QStringLiteral("Failed to delete cache file %1").arg(m_file->path()));
        return false;
    }
    if (record.user != identity.user) {
        m_log.information(
            QStringLiteral("Discarding cache since user has changed (from %1 to %2)").arg(record.user, identity.user));
        return false;
    }
    if (record.tokenHash != identity.tokenHash) {
        m_log.information(QStringLiteral("Discarding cache since access token has changed"));
        return false;
    }
    return true;
}

void CacheStorage::save(const CacheIdentity& identity, const Value& value, const std::function<bool()>& mayWrite) {
    const CacheRecord record{identity.server, value.updateDate, identity.user, identity.tokenHash, QString::fromUtf8(value.body)};
    const CacheFile::WriteResult result = m_file->save(m_nodePath, record, mayWrite);
    if (result == CacheFile::WriteResult::Done)
        m_log.information(QStringLiteral("Saved cache to cache file %1").arg(m_file->path()));
    else if (result == CacheFile::WriteResult::NotWanted)
        m_log.information(QStringLiteral("The value is not saved: nobody is signed in for it any more"));
    else
        logFailure(result, QStringLiteral("Failed to save cache to cache file %1"));
}

void CacheStorage::clear() {
    const CacheFile::WriteResult result = m_file->remove(m_nodePath);
    if (result == CacheFile::WriteResult::Done)
        m_log.information(QStringLiteral("Cleared cache in cache file %1").arg(m_file->path()));
    else
        logFailure(result, QStringLiteral("Failed to clear cache in cache file %1"));
}

void CacheStorage::logFailure(CacheFile::WriteResult result, const QString& text) {
    const QString path = m_file->path();
    if (result == CacheFile::WriteResult::NoFolder)
        m_log.error(QStringLiteral("Failed to created directory %1").arg(QFileInfo(path).path()));
    else if (result == CacheFile::WriteResult::NotOpened)
        m_log.error(QStringLiteral("Failed to open cache file %1 for writing").arg(path));
    else
        m_log.error(text.arg(path));
}

} // namespace Velquor::WebServices::Internal
