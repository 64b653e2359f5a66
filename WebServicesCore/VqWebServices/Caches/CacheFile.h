#pragma once

#include <QDateTime>
#include <QDomDocument>
#include <QString>
#include <functional>

namespace Velquor::WebServices::Internal {

/// What the cache file keeps of one cache of one product. A plain value.
struct CacheRecord {
    QString server;       ///< The server's name.
    QDateTime updateDate; ///< UTC, whole seconds.
    QString user;         ///< The user the value belongs to.
    QString tokenHash;    ///< The MD5 digest, in hexadecimal, of the access token the value was received with.
    QString body;         ///< The reply.
};

/// The file "WebServicesCache.xml" that all caches of all products and processes of the user share, as one product sees it.
///
/// Each cache has an element at its node path; the products' elements stand beside each other there and are told apart by an
/// attribute "Product". An element without it belongs to whoever comes first. A change is one step under a lock between the
/// processes that ends with its holder, and the file is replaced whole, so that no product loses what another has written. A
/// damaged file is set aside. The file is the user's alone. Thread: any; an object for each product. Owner: the product's cache
/// store. Errors: the results below; the caller logs.
class CacheFile {
public:
    /// `product`: a text that stands for the consumer key and may be seen.
    CacheFile(const QString& path, const QString& product);

    [[nodiscard]] const QString& path() const { return m_path; }

    enum class ReadResult { Found, NoRecord, Missing, Unreadable };
    /// Without the lock: a reader sees the old document or the new one.
    [[nodiscard]] ReadResult read(const QString& nodePath, CacheRecord& record) const;

    enum class WriteResult { Done, NotWanted, NoFolder, NotOpened, NotWritten };
    /// Waits for the lock for as long as `mayWrite` says yes, at most 5 seconds, and asks it under the lock again; when it says
    /// no, nothing is written and the result is `NotWanted`.
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
