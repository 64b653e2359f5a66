#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QUrl>
#include <VqWebServices/VqWebServicesGlobal.h>

namespace Velquor::WebServices {

class CacheImp;
struct CacheFailure;

/// One reply of the web services that is kept in memory and on disk and renewed about once a day: the handle that is the same for
/// all of them. The facades address the caches of a product by `CacheType`.
///
/// Thread: the object lives on the token operations thread of its product, where `CacheUpdated` is emitted and the overridable
/// operations are called; the public operations may be called from any thread and return at once. Owner: the product's login
/// session. Errors: log lines.
class VQWEBSERVICES_EXPORT Cache : public QObject {
    Q_OBJECT

public:
    ~Cache() override;

    /// Switches updating on or off; off when the object is made. A cache that is switched on first reads its value from the cache
    /// file, which is given out whatever its age, and asks the web service when the value is missing or has expired. One that is
    /// switched off keeps its value and does not renew it.
    void EnableCache(bool enable);

    /// Discards the value in memory; a cache that is enabled asks the web service for a new one. The file keeps its value until
    /// then.
    void InvalidateCache();

    /// Discards the value in memory and in the cache file.
    void DeleteCache();

    /// How old a value may become before it is renewed, in seconds; 86400 unless set. 0: a value is never renewed. A value is
    /// looked at once in the interval, and at least every 3600 seconds.
    void SetUpdateInterval(unsigned int seconds);

Q_SIGNALS:
    /// The web service has given a new value, which is in place and was saved.
    void CacheUpdated();

protected:
    /// Takes the implementation over; it becomes a child of this object.
    explicit Cache(CacheImp* imp);

    /** @{ */
    /// The value was read from the cache file (`CacheLoadedOverride`), or has come from the web service (`CacheUpdatedOverride`).
    virtual void CacheLoadedOverride();
    virtual void CacheUpdatedOverride();
    /** @} */
    /// Forget what was parsed.
    virtual void ClearCacheOverride();
    /// Parses a reply and keeps what it says. False for a reply that is not understood; what was kept before stays then.
    virtual bool ParseReplyOverride(const QByteArray& reply);
    /// An update has failed. True: try again soon.
    virtual bool UpdateError(const CacheFailure& failure);
    /// The address that is asked; not valid when there is none.
    virtual QUrl GetUrlOverride();
    /// The value in one line for the log; may be empty.
    virtual QString GetCacheInfoForLog();

private:
    friend class CacheImp;
    Q_DISABLE_COPY(Cache)
    CacheImp* m_imp;
};

} // namespace Velquor::WebServices
