#pragma once

#include "Caches/CacheFile.h"
#include "Caches/CacheLog.h"

#include <QDateTime>
#include <functional>
#include <memory>

namespace Velquor::WebServices::Internal {

/// Server, user and access token of a cached value. A plain value.
struct CacheIdentity {
    QString server;
    QString user;
    QString tokenHash;
};

/// Loads and saves the value of one cache in the cache file, and decides whether a loaded value may be used.
///
/// Thread: that of its cache. Owner: its cache. Errors: an empty or false result and one log line.
class CacheStorage {
public:
    CacheStorage(std::shared_ptr<CacheFile> file, QString nodePath, const CacheLog& log);

    struct Value {
        QByteArray body; ///< Empty: no usable value.
        QDateTime updateDate;
    };
    /// A value of another server, user or token is not used.
    [[nodiscard]] Value load(const CacheIdentity& identity);
    /// Call it when the loaded value is in use.
    void logLoaded() const { m_log.information(QStringLiteral("Loaded cache from file %1").arg(m_file->path())); }

    /// `mayWrite` is called when the file is locked; when it returns false, nothing is written.
    void save(const CacheIdentity& identity, const Value& value, const std::function<bool()>& mayWrite);
    void clear();

private:
    [[nodiscard]] bool accepts(const CacheRecord& record, const CacheIdentity& identity);
    void logFailure(CacheFile::WriteResult result, const QString& text);

    const std::shared_ptr<CacheFile> m_file;
    const QString m_nodePath;
    const CacheLog& m_log;
};

} // namespace Velquor::WebServices::Internal
