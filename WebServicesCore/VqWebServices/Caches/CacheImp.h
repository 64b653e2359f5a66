#pragma once

#include "Caches/CacheSchedule.h"
#include "Caches/CacheStorage.h"
#include "Caches/CacheUpdate.h"
#include "Caches/CacheView.h"
#include "Tokens/ITokenOwner.h"

#include <QObject>
#include <atomic>
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

/// The work of one cache: reacts to the sign-in and to its schedule, and replaces the value in memory and in the file.
///
/// Thread: lives on its product's token operations thread, where all work is done; the operations of `Cache` come from any thread
/// and are posted there. Owner: its `Cache`, whose overridable operations it calls. Errors: log lines; a known value stays
/// when an update fails.
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

    /// Cancels the update in progress, which ends every wait for it.
    void Abort();

public slots:
    /// For waiting callers, which have entered `CacheView::updates`; ends it, here or with the update.
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
    void post(void (CacheImp::*work)());
    void timerFired();

    /// Something has changed that may allow an update: loads a missing value from the file and decides.
    void lookAgain();
    void findOutWhetherItCanUpdate();
    void checkForUpdate();
    [[nodiscard]] bool isUpdateDue();
    void loadOnce();

    /// `CacheView::updates` must have been entered.
    void update();
    void exchangeFinished(const Internal::ExchangeOutcome& outcome);
    void settle(const Internal::ExchangeOutcome& outcome);
    void keep(const Internal::ExchangeOutcome& outcome);
    void fail(const QString& text, const CacheFailure& failure);
    void endRun();
    void clear();
    void clearMemory();

    [[nodiscard]] QDateTime now() const { return m_tokens.services().now(); }

    Cache* m_owner = nullptr;
    Internal::ITokenOwner& m_tokens;
    const std::shared_ptr<Internal::CacheViews> m_views; ///< Keeps `m_view` alive.
    Internal::CacheView& m_view;
    const Internal::CacheLog m_log;
    Internal::CacheStorage m_storage;
    Internal::CacheSchedule m_schedule;
    Internal::CacheUpdate m_update;
    std::atomic<bool> m_mustClear{false}; ///< Called for, not yet done: also the value in the file must go.
    bool m_canUpdate = false;             ///< There are a sign-in and a token.
    QDateTime m_lastModified;             ///< What the web service said of the value.
    QString m_loadedFor;                  ///< The sign-in for which the file was read.
};

} // namespace Velquor::WebServices
