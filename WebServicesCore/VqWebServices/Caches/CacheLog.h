#pragma once

#include "VqLog/ILogger.h"

#include <memory>
#include <utility>

namespace Velquor::WebServices::Internal {

/// Writes the log lines of one cache, each with its name in front. Thread: any. Owner: the cache.
class CacheLog {
public:
    CacheLog(QString name, std::shared_ptr<Log::ILogger> logger)
        : m_name(std::move(name))
        , m_logger(std::move(logger)) {}

    void information(const QString& text) const { m_logger->information(named(text)); }
    void warning(const QString& text) const { m_logger->warning(named(text)); }
    void error(const QString& text) const { m_logger->error(named(text)); }
    /// For a text that contains the name already.
    void whole(const QString& text) const { m_logger->information(text); }
    [[nodiscard]] const QString& name() const { return m_name; }

private:
    [[nodiscard]] QString named(const QString& text) const { return QStringLiteral("%1: %2").arg(m_name, text); }

    const QString m_name;
    const std::shared_ptr<Log::ILogger> m_logger;
};

} // namespace Velquor::WebServices::Internal
