#include "Runtime/LogSetupHelper.h"

#include "Network/Urls/SupportFiles.h"
#include "Runtime/LogConfiguration.h"
#include "Runtime/RuntimePaths.h"
#include "Runtime/SilencedLoggers.h"
#include "Values/LibrarySettings.h"
#include "Values/LibraryVersion.h"
#include "VqLog/CallReport.h"
#include "VqLog/LogQueue.h"
#include "VqLog/LoggerWrapper.h"
#include "VqUtil/Files/FileAccess.h"
#include "VqUtil/Platform/HostProcess.h"
#include "VqUtil/Platform/SystemProxySettings.h"

#include <QDir>
#include <QFileInfo>
#include <log4cplus/initializer.h>
#include <log4cplus/logger.h>

namespace Velquor::WebServices::Internal {

namespace {

QString companionFile(const QString& fileName) {
    const QString folder = librarySetting(QStringLiteral("HalvernDesktopInstallFolder"));
    const QFileInfo file(QDir(folder), fileName);
    return !folder.isEmpty() && file.isFile() ? file.absoluteFilePath() : QString();
}

bool isLogDisabled() {
    const QString value = librarySetting(QStringLiteral("EnableLog"));
    return value == QStringLiteral("0") || value.compare(QStringLiteral("false"), Qt::CaseInsensitive) == 0;
}

// Without a log the queued messages are never written, so the reason also goes to the standard output.
void reportFailure(const QString& path, const QString& reason) {
    Log::rootLogger().error(QStringLiteral("Failed to setup log"));
    Log::tellWithoutLog(QStringLiteral("Failed to setup log: %1: %2").arg(path, reason));
}

// The library, its host, the system and how the network is reached: what every problem report needs.
void writeBanner() {
    Log::ILogger& logger = Log::rootLogger();
    const QString module = Util::ownModulePath();
    const QString configuration = QStringLiteral("%1-%2").arg(QStringLiteral("x64"), QStringLiteral("Release"));
    logger.information(
        QStringLiteral("%0 module loaded (Version: %1, Config: %2, File: %3) in executable %4")
            .arg(QFileInfo(module).fileName(), libraryVersion(), configuration, module, Util::hostExecutablePath()));
    logger.information(QStringLiteral("Operating System: %1 (%2)").arg(Util::systemName(), QStringLiteral("64-bit")));
    logger.information(QStringLiteral("Proxy settings:\n%1").arg(Util::systemProxySettings().join(QLatin1Char('\n'))));
}

void writeQueued(const QList<Log::QueuedMessage>& messages) {
    if (messages.isEmpty())
        return;
    Log::ILogger& root = Log::rootLogger();
    root.warning(QStringLiteral("Log was setup after a delay. So some log messages may have been lost."));
    root.information(QStringLiteral("Begin dump of queued log messages (%1)").arg(messages.size()));
    for (const Log::QueuedMessage& message : messages)
        Log::LoggerWrapper(message.logger).log(message.level, message.text);
    root.information(QStringLiteral("End dump of queued log message(s)"));
}

} // namespace

QString LogSetupHelper::findConfiguration() {
    const QString installed = SupportFiles::find(configurationFileName());
    return installed.isEmpty() ? companionFile(configurationFileName()) : installed;
}

QString LogSetupHelper::logFileFolder() {
    const QString environment = qEnvironmentVariable("VQWS_LOGFILEDIR");
    if (!environment.isEmpty())
        return QDir::cleanPath(QDir::fromNativeSeparators(environment));
    const QString logFile = librarySetting(QStringLiteral("WebServicesLogFilePath"));
    if (!logFile.isEmpty())
        return QFileInfo(QDir::fromNativeSeparators(logFile)).absolutePath();
    const QString data = librarySetting(QStringLiteral("WebServicesDataPath"));
    return data.isEmpty() ? RuntimePaths::dataPath() : QDir::cleanPath(QDir::fromNativeSeparators(data));
}

bool LogSetupHelper::SetupLog() {
    log4cplus::initialize();
    const QString installed = SupportFiles::find(configurationFileName());
    const QString path = installed.isEmpty() ? companionFile(configurationFileName()) : installed;
    if (path.isEmpty()) {
        Log::rootLogger().error(
            QStringLiteral(
                "Failed to setup Web Services log. Web Services log configuration file %1 not found in the install folder. Please include this file in the installer.")
                .arg(configurationFileName()));
        return false;
    }
    if (installed.isEmpty())
        Log::rootLogger().warning(
            QStringLiteral(
                "Web Services log configuration file %1 not found in the install folder. Using the one in Halvern Desktop install folder. Please include this file in the installer.")
                .arg(configurationFileName()));
    const LogConfiguration configuration(logFileFolder());
    // A log of another user's would keep that user from writing one.
    const bool isOwn = configuration.folder() == RuntimePaths::dataPath();
    const Util::Result<void> owner = isOwn ? Util::checkOwner(configuration.folder()) : Util::Result<void>();
    if (owner && !QDir(configuration.folder()).exists() && !Util::ensureOwnerOnlyFolder(configuration.folder()))
        Log::rootLogger().error(QStringLiteral("Failed to create the folder of the log file %1").arg(configuration.folder()));
    const Util::Result<void> applied = owner ? configuration.apply(path) : owner;
    if (!applied) {
        reportFailure(path, applied.reason());
        return false;
    }
    if (isLogDisabled())
        SilencedLoggers::silence();
    // Before the report: from now on messages are written, and the queued ones follow after the banner.
    const QList<Log::QueuedMessage> queued = Log::LogQueue::instance().finish();
    configuration.report(path);
    writeBanner();
    writeQueued(queued);
    return true;
}

void LogSetupHelper::Log(int level, const std::wstring& text) {
    Log::rootLogger().log(static_cast<Log::Level>(level), QString::fromStdWString(text));
}

void LogSetupHelper::LogQueuedMessages() {
    writeQueued(Log::LogQueue::instance().finish());
}

bool LogSetupHelper::isLogEnabled() {
    for (const log4cplus::Logger& logger : log4cplus::Logger::getCurrentLoggers()) {
        if (logger.getChainedLogLevel() != log4cplus::OFF_LOG_LEVEL)
            return true;
    }
    return false;
}

} // namespace Velquor::WebServices::Internal
