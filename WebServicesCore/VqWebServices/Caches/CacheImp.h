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

/// What the caches of one product share. A plain value.
struct CacheParts {
    ITokenOwner& owner;
    std::shared_ptr<RunState> refreshes; ///< Busy while the access token is being refreshed.
    std::shared_ptr<CacheFile> file;
    std::shared_ptr<CacheViews> views;
};

/// The work of one cache: its timer, the update over the network with its retries, and what becomes of the value.
///
/// Thread: lives on its product's token operations thread, where all work is done; the operations of `Cache` come from any thread
/// and are posted there. Owner: its `Cache`, whose overridable operations it calls. Errors: log lines; a value that is known
/// stays when an update fails.
class CacheImp : public QObject {
    Q_OBJECT

public:
    CacheImp(const CacheParts& parts, CacheView& view, const QString& name, const QString& nodePath);
    ~CacheImp() override;
    void setOwner(Cache* owner);

    // Any thread.
    void EnableCache(bool enable);
    void InvalidateCache();
    void DeleteCache();
    void SetUpdateInterval(unsigned int seconds);
    [[nodiscard]] const CacheLog& log() const { return m_log; }
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
    void exchangeFinished(const ExchangeOutcome& outcome);
    void settle(const ExchangeOutcome& outcome);
    void keep(const ExchangeOutcome& outcome);
    void fail(const QString& text, const CacheFailure& failure);
    void endRun();
    void clearMemory();

    [[nodiscard]] CacheIdentity identity() const;
    [[nodiscard]] CacheTiming::Facts facts() const;
    [[nodiscard]] QDateTime now() const { return m_tokens.services().now(); }

    Cache* m_owner = nullptr;
    ITokenOwner& m_tokens;
    const std::shared_ptr<RunState> m_refreshes;
    const std::shared_ptr<CacheViews> m_views; ///< Keeps `m_view` alive.
    CacheView& m_view;
    const CacheLog m_log;
    CacheStorage m_storage;
    bool m_canUpdate = false;
    mutable QRecursiveMutex m_mutex; ///< For the intervals and the date.
    qint64 m_checkSeconds = CacheTiming::longestCheckSeconds;
    qint64 m_updateSeconds = CacheTiming::defaultUpdateSeconds;
    QDateTime m_updateDate;
    int m_failures = 0; ///< Failed updates in a row.
    QDateTime m_lastModified;
    QString m_loadedFor; ///< The sign-in for which the file was read.
    QTimer m_timer;
    ExchangeRunner m_exchange;
    QString m_askedFor;        ///< The sign-in for which the request that is under way was sent,
    CacheIdentity m_askedWith; ///< and whose its answer is.
};

} // namespace Velquor::WebServices
