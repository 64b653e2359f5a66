#include "Tokens/OAuth2/ProductSessionLock.h"

#include "VqUtil/General/HumanText.h"

#include <QElapsedTimer>
#include <utility>

namespace Velquor::WebServices::Internal {

namespace {
constexpr qint64 expectedWaitMs = 5000;
}

ProductSessionLock::ProductSessionLock(QRecursiveMutex& mutex, const QString& caller, std::shared_ptr<Log::ILogger> logger)
    : m_mutex(mutex)
    , m_caller(caller)
    , m_logger(std::move(logger)) {
    m_logger->debug(QStringLiteral("%1: Acquiring product login session lock").arg(m_caller));
    QElapsedTimer timer;
    timer.start();
    m_mutex.lock();
    const qint64 waited = timer.elapsed();
    if (waited > expectedWaitMs)
        m_logger->warning(QStringLiteral("%1: Acquired product login session lock, but it took unexpectedly long time (%2)")
                              .arg(m_caller, Util::timeSpanText(waited)));
    else
        m_logger->debug(QStringLiteral("%1: Acquired product login session lock").arg(m_caller));
}

ProductSessionLock::~ProductSessionLock() {
    m_mutex.unlock();
    m_logger->debug(QStringLiteral("%1: Released product login session lock").arg(m_caller));
}

} // namespace Velquor::WebServices::Internal
