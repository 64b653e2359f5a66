#pragma once

#include "VqLog/ILogger.h"

#include <QObject>
#include <memory>
#include <vector>

namespace Velquor::WebServices::Internal {

class CacheStore;
class RefreshController;
class TokenFetcher;
class TokenRefresher;
class TokenWorker;

/// Destroys the objects of a token operations thread on that thread, after its event loop has ended.
///
/// Thread: lives on the token operations thread and is deleted by its end. Owner: that thread. It holds plain pointers, and
/// nothing else deletes them.
class ObjectDeleter : public QObject {
    Q_OBJECT

public:
    explicit ObjectDeleter(std::shared_ptr<Log::ILogger> logger);
    ~ObjectDeleter() override;

    CacheStore* cacheStore = nullptr;
    RefreshController* refreshController = nullptr;
    TokenFetcher* tokenFetcher = nullptr;
    TokenRefresher* tokenRefresher = nullptr;
    /// Grows until the thread is asked to end.
    std::vector<TokenWorker*> oauth2Workers;

public slots:
    void Start();

private:
    const std::shared_ptr<Log::ILogger> m_logger;
};

/// The system's id of the calling thread, for the log.
[[nodiscard]] QString currentThreadIdText();

} // namespace Velquor::WebServices::Internal
