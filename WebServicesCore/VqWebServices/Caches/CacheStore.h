#pragma once

#include "Caches/CacheImp.h"

#include <QObject>
#include <QVector>
#include <VqWebServices/CacheType.h>
#include <array>

namespace Velquor::WebServices::Internal {

/// The three caches of one product: creates them when there is a configuration, deletes them when there is none, and forwards the
/// events of the sign-in.
///
/// Thread: created on any, then moved with its caches to the token operations thread of its product; the operations of a cache
/// may be called from any thread. Owner: the object deleter of the product's session. Errors: log lines.
class CacheStore : public QObject {
    Q_OBJECT

public:
    explicit CacheStore(const CacheDependencies& parts);
    ~CacheStore() override;

    /// Null when the type is unknown or the caches are not there.
    [[nodiscard]] Cache* cache(CacheType type) const { return entry(type).cache; }
    [[nodiscard]] CacheImp* imp(CacheType type) const { return entry(type).imp; }

    void InvalidateCache(CacheType type);
    void DeleteCache(CacheType type);

    /// Cancels the updates in progress, since the thread is about to end. This object's thread.
    void abort();

    /// Caching is on unless the library setting "DisableCaching" says otherwise.
    [[nodiscard]] static bool isCachingEnabled();

public slots:
    void ConfigurationSet();
    void ConfigurationRemoved();
    void LoggedIn();
    void LoginRestored();
    void TokenAvailable();
    void LoggedOut();
    void TokenRefreshed();

private:
    struct Entry {
        CacheType type;
        Cache* cache = nullptr;
        CacheImp* imp = nullptr;
    };
    template <class T>
    void add(CacheType type, T* cache);
    [[nodiscard]] Entry entry(CacheType type) const;

    const CacheDependencies m_parts;
    Log::ILogger& m_logger;
    QVector<Entry> m_caches; ///< Filled before the thread starts, emptied when it ends.
};

/// All types.
inline constexpr std::array<CacheType, 3> cacheTypes{CacheType::UserInfo, CacheType::Entitlement, CacheType::StorageQuota};

/// "User Info", "Storage Quota" or "Entitlement", else "Unknown": the name of a type in the log.
[[nodiscard]] QString cacheTypeName(CacheType type);

} // namespace Velquor::WebServices::Internal
