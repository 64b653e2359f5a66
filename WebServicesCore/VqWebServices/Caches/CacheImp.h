#pragma once

#include "Caches/CacheStorage.h"
#include "Caches/CacheTiming.h"
#include "Caches/CacheView.h"
#include "Network/ExchangeRunner.h"
#include "Tokens/ITokenOwner.h"

#include <QNetworkRequest>
#include <QObject>
#include <QRecursiveMutex>
#include <QTimer>
#include <memory>

namespace Velquor::WebServices {

class Cache;

namespace Internal {

/// What the caches of one product share. A plain value.
struct CacheDependencies {
    ITokenOwner& owner;
    std::shared_ptr<RunState> refreshes; ///< Busy while the access token is being refreshed.
    std::shared_ptr<CacheFile> file;
    std::shared_ptr<CacheViews> views;
};

} // namespace Internal

/// The work of one cache: its timer, the update over the network with its retries, and what becomes of the value.
///
/// Thread: lives on its product's token operations thread, where all work is done; the operations of `Cache` come from any thread
/// and are posted there. Owner: its `Cache`, whose overridable operations it calls. Errors: log lines; a value that is known
/// stays when an update fails.
class CacheImp : public QObject {
    Q_OBJECT

public:
    CacheImp(const Internal::CacheDependencies& parts, Internal::CacheView& view, const QString& name, const QString& nodePath);
    ~CacheImp() override;
    void setOwner(Cache* owner);

    // Any thread.
    void EnableCache(bool enable);
    void InvalidateCache();
    void DeleteCache();
    void SetUpdateInterval(unsigned int seconds);
    [[nodiscard]] const Internal::CacheLog& log() const { return m_log; }
    [[nodiscard]] QUrl endPoint(const QString& serverKey, const QString& endPointKey) const {
        return m_tokens.endPoint(serverKey, endPointKey);
    }

    /// Cancels the update that is under way; whoever waits for it is told.
    void Abort();

public slots:
    /// For callers who wait; they have entered the run of `CacheView::updates`, which ends here or with the update.
    void UpdateNowSlot();
    void LoggedIn();
    void LoginRestored();
    void TokenAvailable();
    void LoggedOut();
    void TokenRefreshed();

private slots:
    void DeleteSlot();
    void InvalidateSlot();

private:
    enum class Shot { Single, Repeated };

    void post(void (CacheImp::*work)());
    void startTimer(Shot shot, qint64 intervalMs);
    void stopTimer();
    void timerFired();

    /// What has changed may allow an update: takes the value from the file when there is none, and decides.
    void lookAgain();
    void findOutWhetherItCanUpdate();
    void checkForUpdate();
    [[nodiscard]] bool isUpdateDue();
    void loadOnce();

    /// The run must have been entered.
    void update();
    [[nodiscard]] bool mayUpdate();
    [[nodiscard]] bool signRequest(QNetworkRequest& request);
    void exchangeFinished(const Internal::ExchangeOutcome& outcome);
    void settle(const Internal::ExchangeOutcome& outcome);
    void keep(const Internal::ExchangeOutcome& outcome);
    void fail(const QString& text, const CacheFailure& failure);
    void endRun();
    void clearMemory();

    [[nodiscard]] Internal::CacheIdentity identity() const;
    [[nodiscard]] Internal::CacheTiming::Facts facts() const;
    [[nodiscard]] QDateTime now() const { return m_tokens.services().now(); }

    Cache* m_owner = nullptr;
    Internal::ITokenOwner& m_tokens;
    const std::shared_ptr<Internal::RunState> m_refreshes;
    const std::shared_ptr<Internal::CacheViews> m_views; ///< Keeps `m_view` alive.
    Internal::CacheView& m_view;
    const Internal::CacheLog m_log;
    Internal::CacheStorage m_storage;
    bool m_canUpdate = false;
    mutable QRecursiveMutex m_mutex; ///< For the intervals and the date.
    qint64 m_checkSeconds = Internal::CacheTiming::longestCheckSeconds;
    qint64 m_updateSeconds = Internal::CacheTiming::defaultUpdateSeconds;
    QDateTime m_updateDate;
    int m_failures = 0; ///< Failed updates in a row.
    QDateTime m_lastModified;
    QString m_loadedFor; ///< The sign-in for which the file was read.
    QTimer m_timer;
    Internal::ExchangeRunner m_exchange;
    QString m_askedFor;                  ///< The sign-in for which the request that is under way was sent,
    Internal::CacheIdentity m_askedWith; ///< and whose its answer is.
};

} // namespace Velquor::WebServices
