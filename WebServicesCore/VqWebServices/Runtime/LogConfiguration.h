#pragma once

#include "Runtime/LogProperties.h"

namespace Velquor::WebServices::Internal {

/// The log configuration of this process: the file with its properties filled in.
///
/// Thread: that which sets up the log. Owner: its stack. Errors: a text that says why.
class LogConfiguration {
public:
    /// `folder`: where the log file goes.
    explicit LogConfiguration(const QString& folder);

    [[nodiscard]] const QString& folder() const { return m_folder; }

    /// Makes the loggers log as the file says, also those that were silenced. Why it cannot be done; empty on success.
    [[nodiscard]] QString apply(const QString& path) const;

    /// Writes to the log what was applied.
    void report(const QString& path) const;

private:
    void reportProperties() const;

    const RootLogLevel m_level;
    const QString m_application;
    const QString m_folder;
};

} // namespace Velquor::WebServices::Internal
