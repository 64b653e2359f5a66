#pragma once

#include "VqUtil/General/Result.h"

#include <QString>

namespace Velquor::WebServices::Internal {

/// The root level of the log and its source. The environment wins over the settings, which win over the default: the settings
/// hold for all processes, and must not overrule the variable that somebody set for the one process under investigation. A plain
/// value.
struct RootLogLevel {
    enum class Source { Configuration, Environment, Registry } source = Source::Configuration;
    QString level;
};

/// An unknown level counts as not set. Thread: any.
[[nodiscard]] RootLogLevel chooseRootLogLevel(const QString& environment, const QString& registry);

/// The log configuration of this process: the file with its properties filled in.
///
/// Thread: that which sets up the log. Owner: its stack. Errors: the reason.
class LogConfiguration {
public:
    /// `folder`: where the log file goes.
    explicit LogConfiguration(const QString& folder);

    [[nodiscard]] const QString& folder() const { return m_folder; }

    /// Makes the loggers log as the file says, also those that were silenced.
    [[nodiscard]] Util::Result<void> apply(const QString& path) const;

    /// Writes to the log what was applied.
    void report(const QString& path) const;

private:
    void reportProperties() const;

    const RootLogLevel m_level;
    const QString m_application;
    const QString m_folder;
};

} // namespace Velquor::WebServices::Internal
