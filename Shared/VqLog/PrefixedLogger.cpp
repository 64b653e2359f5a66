#include "VqLog/PrefixedLogger.h"

#include <QMutexLocker>
#include <utility>

namespace Velquor::Log {

void LogPrefix::set(const QString& text) {
    const QMutexLocker lock(&m_mutex);
    m_text = text;
}

QString LogPrefix::text() const {
    const QMutexLocker lock(&m_mutex);
    return m_text;
}

PrefixedLogger::PrefixedLogger(std::shared_ptr<ILogger> target, std::shared_ptr<const LogPrefix> prefix)
    : m_target(std::move(target))
    , m_prefix(std::move(prefix)) {}

void PrefixedLogger::write(Level level, const QString& prefix, const QString& text) {
    if (!isEnabled(level))
        return;
    const QString own = m_prefix->text();
    m_target->write(level, prefix.isEmpty() ? own : own + QStringLiteral(": ") + prefix, text);
}

} // namespace Velquor::Log
