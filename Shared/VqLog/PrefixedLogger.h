#pragma once

#include "VqLog/ILogger.h"

#include <QMutex>
#include <memory>

namespace Velquor::Log {

/// The log prefix of an object, shared with its helpers on other threads. A change applies from the next line on.
///
/// Thread: any. Owner: shared.
class LogPrefix {
public:
    void set(const QString& text);
    [[nodiscard]] QString text() const;

private:
    mutable QMutex m_mutex;
    QString m_text;
};

/// Writes through another logger, with an object's prefix in front.
///
/// Thread: any. Owner: shared by the objects that log through it.
class PrefixedLogger final : public ILogger {
public:
    PrefixedLogger(std::shared_ptr<ILogger> target, std::shared_ptr<const LogPrefix> prefix);

    /// `prefix` is written after the object's own prefix.
    void write(Level level, const QString& prefix, const QString& text) override;
    [[nodiscard]] bool isEnabled(Level level) const override { return m_target->isEnabled(level); }

private:
    const std::shared_ptr<ILogger> m_target;
    const std::shared_ptr<const LogPrefix> m_prefix;
};

} // namespace Velquor::Log
