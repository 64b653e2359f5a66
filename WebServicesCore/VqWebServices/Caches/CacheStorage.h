#pragma once

#include "Caches/CacheFile.h"
#include "Caches/CacheLog.h"

#include <QDateTime>
#include <functional>
#include <memory>

namespace Velquor::WebServices::Internal {

/// Whose a cached value is. A plain value.
struct CacheIdentity {
    QString server;
    QString user;
    QString tokenHash;
};

/// One cache's place in the cache file, with the rules for what may be taken from it.
///
/// Thread: that of its cache. Owner: its cache. Errors: an empty or false result and one log line.
class CacheStorage {
public:
    CacheStorage(std::shared_ptr<CacheFile> file, QString nodePath, const CacheLog& log);

    struct Value {
        QByteArray body; ///< Empty: there is nothing that may be used.
        QDateTime updateDate;
    };
    /// A value that another server, user or token has left is not used.
    [[nodiscard]] Value load(const CacheIdentity& identity);
    /// To be called when the value that was read is in use.
    void logLoaded() const { m_log.information(QStringLiteral("Loaded cache from file %1").arg(m_file->path())); }

    /// `mayWrite` is asked when the file is locked; when it says no, nothing is written.
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
