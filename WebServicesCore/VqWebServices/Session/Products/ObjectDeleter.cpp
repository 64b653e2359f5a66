#include "Session/Products/ObjectDeleter.h"

#include "Caches/CacheStore.h"
#include "Tokens/Query/TokenFetcher.h"
#include "Tokens/Refresh/RefreshController.h"
#include "Tokens/Refresh/TokenRefresher.h"

#include <QThread>
#include <utility>

namespace Velquor::WebServices::Internal {

QString currentThreadIdText() {
    return QString::number(reinterpret_cast<quintptr>(QThread::currentThreadId()));
}

ObjectDeleter::ObjectDeleter(std::shared_ptr<Log::ILogger> logger)
    : m_logger(std::move(logger)) {}

void ObjectDeleter::Start() {
    m_logger->information(QStringLiteral("Token operations thread %1 started").arg(currentThreadIdText()));
}

ObjectDeleter::~ObjectDeleter() {
    m_logger->information(QStringLiteral("ObjectDeleter destructor"));
    m_logger->information(QStringLiteral("Deleting objects"));
    delete cacheStore;
    // The OAuth2 workers use all the others.
    for (TokenWorker* const worker : oauth2Workers)
        delete worker;
    // Delete the refresher and the fetcher before the controller that they call.
    delete tokenRefresher;
    delete tokenFetcher;
    delete refreshController;
    m_logger->information(QStringLiteral("Finished deleting objects"));
    m_logger->information(QStringLiteral("Token operations thread %1 ended").arg(currentThreadIdText()));
}

} // namespace Velquor::WebServices::Internal
