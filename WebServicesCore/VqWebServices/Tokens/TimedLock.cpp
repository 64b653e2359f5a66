#include "Tokens/TimedLock.h"

#include "VqUtil/General/HumanText.h"

#include <QElapsedTimer>
#include <utility>

namespace Velquor::WebServices::Internal {

using Log::Level;

namespace {
constexpr qint64 unexpectedWaitMs = 5000;
}

TimedLock::TimedLock(Kind kind, Util::IRecursiveLock& lock, const QString& caller, std::shared_ptr<Log::ILogger> logger)
    : m_kind(kind)
    , m_lock(lock)
    , m_caller(caller)
    , m_logger(std::move(logger)) {
    const bool isProduct = m_kind == Kind::ProductLoginSession;
    // Every signature takes the lock: its texts are not made unless they are written.
    const bool isDebug = m_logger->isEnabled(Level::Debug);
    if (isDebug)
        m_logger->debug((isProduct ? QStringLiteral("%1: Acquiring product login session lock")
                                   : QStringLiteral("%1: Acquiring login session lock"))
                            .arg(m_caller));
    QElapsedTimer timer;
    timer.start();
    m_lock.lock();
    const qint64 waitedMs = timer.elapsed();
    if (waitedMs >= unexpectedWaitMs)
        m_logger->warning(
            (isProduct ? QStringLiteral("%1: Acquired product login session lock, but it took unexpectedly long time (%2)")
                       : QStringLiteral("%1: Acquired login session lock, but it took unexpectedly long time (%2)"))
                .arg(m_caller, Util::timeSpanText(waitedMs)));
    else if (isDebug)
        m_logger->debug((isProduct ? QStringLiteral("%1: Acquired product login session lock")
                                   : QStringLiteral("%1: Acquired login session lock"))
                            .arg(m_caller));
}

TimedLock::~TimedLock() {
    m_lock.unlock();
    if (m_logger->isEnabled(Level::Debug))
        m_logger->debug((m_kind == Kind::ProductLoginSession ? QStringLiteral("%1: Released product login session lock")
                                                             : QStringLiteral("%1: Released login session lock"))
                            .arg(m_caller));
}

} // namespace Velquor::WebServices::Internal
