#include "Session/Operations/LoginSessionLock.h"

#include "VqUtil/General/HumanText.h"

#include <QElapsedTimer>
#include <utility>

namespace Velquor::WebServices::Internal {

namespace {
constexpr qint64 unexpectedWaitMs = 5000;
}

LoginSessionLock::LoginSessionLock(QRecursiveMutex& mutex, const QString& caller, std::shared_ptr<Log::ILogger> logger)
    : m_mutex(mutex)
    , m_caller(caller)
    , m_logger(std::move(logger)) {
    using Log::Level;
    if (m_logger->isEnabled(Level::Debug))
        m_logger->debug(QStringLiteral("%1: Acquiring login session lock").arg(m_caller));
    QElapsedTimer timer;
    timer.start();
    m_mutex.lock();
    const qint64 waited = timer.elapsed();
    if (waited >= unexpectedWaitMs)
        m_logger->warning(QStringLiteral("%1: Acquired login session lock, but it took unexpectedly long time (%2)")
                              .arg(m_caller, Util::timeSpanText(waited)));
    else if (m_logger->isEnabled(Level::Debug))
        m_logger->debug(QStringLiteral("%1: Acquired login session lock").arg(m_caller));
}

LoginSessionLock::~LoginSessionLock() {
    m_mutex.unlock();
    if (m_logger->isEnabled(Log::Level::Debug))
        m_logger->debug(QStringLiteral("%1: Released login session lock").arg(m_caller));
}

} // namespace Velquor::WebServices::Internal
