#pragma once

#include "VqLog/ILogger.h"

#include <QHash>
#include <QMutex>
#include <QPair>
#include <QStringList>
#include <QVector>

namespace Velquor::TestKit {

/// Keeps what was logged. Thread: any. Owner: shared with the objects under test.
class RecordingLogger final : public Log::ILogger {
public:
    void write(Log::Level level, const QString& prefix, const QString& text) override;
    [[nodiscard]] bool isEnabled(Log::Level) const override { return true; }

    /// The texts of one level, or of all of them.
    [[nodiscard]] QStringList texts(Log::Level level) const;
    [[nodiscard]] QStringList texts() const;
    /// How many texts hold this one.
    [[nodiscard]] int count(const QString& part) const { return texts().filter(part).size(); }
    /// The prefixes with which a text was written, in order.
    [[nodiscard]] QStringList prefixes(const QString& text) const;
    void clear();

private:
    mutable QMutex m_mutex;
    QVector<QPair<Log::Level, QString>> m_entries;
    QHash<QString, QStringList> m_prefixes;
};

} // namespace Velquor::TestKit
