#include "TestKit/RecordingLogger.h"

#include <QMutexLocker>

namespace Velquor::TestKit {

void RecordingLogger::write(Log::Level level, const QString& prefix, const QString& text) {
    const QMutexLocker lock(&m_mutex);
    m_entries.append({level, text});
    m_prefixes[text] += prefix;
}

QStringList RecordingLogger::texts(Log::Level level) const {
    const QMutexLocker lock(&m_mutex);
    QStringList found;
    for (const auto& entry : m_entries) {
        if (entry.first == level)
            found += entry.second;
    }
    return found;
}

QStringList RecordingLogger::texts() const {
    const QMutexLocker lock(&m_mutex);
    QStringList found;
    for (const auto& entry : m_entries)
        found += entry.second;
    return found;
}

QStringList RecordingLogger::prefixes(const QString& text) const {
    const QMutexLocker lock(&m_mutex);
    return m_prefixes.value(text);
}

void RecordingLogger::clear() {
    const QMutexLocker lock(&m_mutex);
    m_entries.clear();
    m_prefixes.clear();
}

} // namespace Velquor::TestKit
