#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QUrl>
#include <VqWebServices/VqWebServicesGlobal.h>

namespace Velquor::WebServices {

class CacheImp;
struct CacheFailure;

/// A cached reply of the web services, kept in memory and on disk and renewed about once a day. This is the base class of all
/// kinds of replies. The facades address the caches of a product by `CacheType`.
///
/// Thread: the object lives on the token operations thread of its product. `CacheUpdated` is emitted there, and the overridable
/// operations are called there. The public operations may be called from any thread and return at once. Owner: the product's
/// login session. Errors: log lines.
class VQWEBSERVICES_EXPORT Cache : public QObject {
    Q_OBJECT

public:
    ~Cache() override;

    /// Switches updating on or off; it is off in a new object. A cache that is switched on first reads its value from the cache
    /// file and provides it whatever its age. It queries the web service when the value is missing or has expired. A cache that
    /// is switched off keeps its value and does not renew it.
    void EnableCache(bool enable);

    /// Discards the value in memory and in the cache file. An enabled cache queries the web service for a new one.
    void InvalidateCache();

    /// Discards the value in memory and in the cache file.
    void DeleteCache();

    /// Sets the age at which a value is renewed, in seconds; the default is 86400. With 0 a value is never renewed. The cache
    /// checks the age once per interval, and at least every 3600 seconds.
    void SetUpdateInterval(unsigned int seconds);

Q_SIGNALS:
    /// The web service has sent a new value. The value is in place and saved.
    void CacheUpdated();

protected:
    /// Takes ownership of the implementation, which becomes a child of this object.
    explicit Cache(CacheImp* imp);

    /** @{ */
    /// Called after the value was read from the cache file (`CacheLoadedOverride`), or received from the web service
    /// (`CacheUpdatedOverride`).
    virtual void CacheLoadedOverride();
    virtual void CacheUpdatedOverride();
    /** @} */
    /// Discards the parsed values.
    virtual void ClearCacheOverride();
    /// Parses a reply and keeps its values. False for an invalid reply; the values from before stay then.
    virtual bool ParseReplyOverride(const QByteArray& reply);
    /// Called when an update has failed. True: retry soon.
    virtual bool UpdateError(const CacheFailure& failure);
    /// The address to query; not valid when there is none.
    virtual QUrl GetUrlOverride();
    /// The value in one line for the log; may be empty.
    virtual QString GetCacheInfoForLog();

private:
    friend class CacheImp;
    Q_DISABLE_COPY(Cache)
    CacheImp* m_imp;
};

} // namespace Velquor::WebServices
