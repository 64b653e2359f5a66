#pragma once

#include "VqUtil/General/Result.h"

#include <QString>

namespace Velquor::WebServices::Internal {

/// The root level of the log and its source. The environment wins over the settings, which win over the default: the settings
/// hold for all processes, and the variable for one process under investigation. A plain value.
struct RootLogLevel {
    enum class Source { Configuration, Environment, Registry } source = Source::Configuration;
    QString level;
};

/// An unknown level counts as not set. Thread: any.
[[nodiscard]] RootLogLevel chooseRootLogLevel(const QString& environment, const QString& registry);

/// Applies the log configuration file to this process, with the values of its properties filled in.
///
/// Thread: the one that sets up the log. Owner: its stack. Errors: the reason.
class LogConfiguration {
public:
    /// `folder`: the folder of the log file.
    explicit LogConfiguration(const QString& folder);

    [[nodiscard]] const QString& folder() const { return m_folder; }

    /// Makes the loggers log as the file says, also those that were silenced.
    [[nodiscard]] Util::Result<void> apply(const QString& path) const;

    /// Logs the applied configuration.
    void report(const QString& path) const;

private:
    void reportProperties() const;

    const RootLogLevel m_level;
    const QString m_application;
    const QString m_folder;
};

} // namespace Velquor::WebServices::Internal
