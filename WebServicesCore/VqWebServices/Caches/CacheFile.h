#pragma once

#include <QDateTime>
#include <QDomDocument>
#include <QString>
#include <functional>

namespace Velquor::WebServices::Internal {

/// The value of one cache of one product in the cache file. A plain value.
struct CacheRecord {
    QString server;       ///< The server's name.
    QDateTime updateDate; ///< UTC, whole seconds.
    QString user;         ///< The user to whom the value belongs.
    QString tokenHash;    ///< The MD5 digest, in hexadecimal, of the access token the value was received with.
    QString body;         ///< The reply.
};

/// The file "WebServicesCache.xml", which all caches of all products and processes of the user share, as one product sees it.
///
/// Each product has an element at the node path of each cache, with an attribute "Product". The first product that reads an
/// element without the attribute adopts it. A change reads, edits and replaces the whole file under a lock between the processes,
/// so no product loses what another has written; the system frees the lock when its process ends. A damaged file is set aside.
/// Only the user may read the file. Thread: any; an object for each product. Owner: the product's cache store. Errors: the
/// results below; the caller logs.
class CacheFile {
public:
    /// `product` identifies the consumer key without revealing it.
    CacheFile(const QString& path, const QString& product);

    [[nodiscard]] const QString& path() const { return m_path; }

    enum class ReadResult { Found, NoRecord, Missing, Unreadable };
    /// Without the lock: the file is replaced in one step, so a reader sees the old document or the new one.
    [[nodiscard]] ReadResult read(const QString& nodePath, CacheRecord& record) const;

    enum class WriteResult { Done, NotWanted, NoFolder, NotOpened, NotWritten };
    /// Waits for the lock while `mayWrite` returns true, at most 5 seconds, and checks `mayWrite` under the lock again. When it
    /// returns false, nothing is written and the result is `NotWanted`.
    [[nodiscard]] WriteResult save(const QString& nodePath, const CacheRecord& record, const std::function<bool()>& mayWrite);
    /// Removes the product's value. `Done` when there was none.
    [[nodiscard]] WriteResult remove(const QString& nodePath);
    /// Removes the values of all products, and the damaged files that were set aside.
    [[nodiscard]] static bool removeAll(const QString& path);

private:
    enum class Change { None, NotWanted, Made };
    using Edit = std::function<Change(QDomDocument&)>;
    [[nodiscard]] WriteResult change(int timeoutMs, const std::function<bool()>& isWorthIt, const Edit& edit);
    [[nodiscard]] WriteResult replace(const QDomDocument& document) const;
    [[nodiscard]] QDomElement find(const QDomElement& root, const QString& nodePath) const;

    const QString m_path;
    const QString m_product;
    bool m_cleaned = false;
};

} // namespace Velquor::WebServices::Internal
