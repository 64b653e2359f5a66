#pragma once

#include "VqLog/ILogger.h"

#include <QHash>
#include <QMutex>
#include <QMutexLocker>
#include <QPair>
#include <QStringList>
#include <QVector>

namespace Velquor::TestKit {

/// Keeps what was logged. Thread: any. Owner: shared with the objects under test.
class RecordingLogger final : public Log::ILogger {
public:
    void write(Log::Level level, const QString& prefix, const QString& text) override {
        const QMutexLocker lock(&m_mutex);
        m_entries.append({level, text});
        m_prefixes[text] += prefix;
    }

    [[nodiscard]] bool isEnabled(Log::Level) const override { return true; }

    /// The texts of one level, or of all of them.
    [[nodiscard]] QStringList texts(Log::Level level) const {
        const QMutexLocker lock(&m_mutex);
        QStringList found;
        for (const auto& entry : m_entries) {
            if (entry.first == level)
                found += entry.second;
        }
        return found;
    }

    [[nodiscard]] QStringList texts() const {
        const QMutexLocker lock(&m_mutex);
        QStringList found;
        for (const auto& entry : m_entries)
            found += entry.second;
        return found;
    }

    /// The prefixes with which a text was written, in order.
    [[nodiscard]] QStringList prefixes(const QString& text) const {
        const QMutexLocker lock(&m_mutex);
        return m_prefixes.value(text);
    }

    void clear() {
        const QMutexLocker lock(&m_mutex);
        m_entries.clear();
        m_prefixes.clear();
    }

private:
    mutable QMutex m_mutex;
    QVector<QPair<Log::Level, QString>> m_entries;
    QHash<QString, QStringList> m_prefixes;
};

} // namespace Velquor::TestKit
