#pragma once

#include <QString>
#include <string>

namespace Velquor::WebServices::Internal {

/// Sets up the log of the process from "WebServices.logconfig".
///
/// Thread: the one that initializes the library; `Log` may be called from any. Owner: the process. Errors: a log line when there
/// is a log, otherwise a line on the standard output. The library then works without logs. Only a missing configuration file
/// makes it refuse operations that need the network.
class LogSetupHelper {
public:
    /// Sets the log up; false when there is no configuration or it cannot be applied.
    static bool SetupLog();

    /// Writes through the library's root logger, or queues until the log is set up. `level` is a level of log4cplus.
    static void Log(int level, const std::wstring& text);

    /// Writes the messages that were queued before the log was set up.
    static void LogQueuedMessages();

    /// The full path of the log configuration: next to the library, in the search paths, or with the companion product. Empty
    /// when there is none.
    [[nodiscard]] static QString findConfiguration();

    [[nodiscard]] static QString logFileName() { return QStringLiteral("WebServices.log"); }
    [[nodiscard]] static QString configurationFileName() { return QStringLiteral("WebServices.logconfig"); }

    /// The folder of the log file: the environment variable "VQWS_LOGFILEDIR", the settings "WebServicesLogFilePath" and
    /// "WebServicesDataPath", or the library's data path, in this order.
    [[nodiscard]] static QString logFileFolder();

    /// True when at least one logger has a level other than off.
    [[nodiscard]] static bool isLogEnabled();
};

} // namespace Velquor::WebServices::Internal
