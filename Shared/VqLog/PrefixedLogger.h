#pragma once

#include "VqLog/ILogger.h"

#include <QMutex>
#include <memory>

namespace Velquor::Log {

/// The log prefix of an object, shared with all that write on its behalf, on whatever thread: a change holds from the next line
/// on.
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

    /// A prefix given here comes behind the object's own.
    void write(Level level, const QString& prefix, const QString& text) override;
    [[nodiscard]] bool isEnabled(Level level) const override { return m_target->isEnabled(level); }

private:
    const std::shared_ptr<ILogger> m_target;
    const std::shared_ptr<const LogPrefix> m_prefix;
};

} // namespace Velquor::Log
