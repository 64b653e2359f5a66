#include "Runtime/LogSetupHelper.h"

#include "Network/LibrarySettings.h"
#include "Network/SupportFiles.h"
#include "Runtime/LogBanner.h"
#include "Runtime/LogProperties.h"
#include "Runtime/RuntimePaths.h"
#include "Values/Loggers.h"
#include "VqLog/LogQueue.h"
#include "VqLog/LoggerWrapper.h"
#include "VqUtil/General/AtomicFile.h"
#include "VqUtil/Platform/FileAccess.h"
#include "VqUtil/Platform/HostProcess.h"

#include <QDir>
#include <QFileInfo>
#include <boost/format.hpp>
#include <log4cplus/configurator.h>
#include <log4cplus/hierarchy.h>
#include <log4cplus/initializer.h>
#include <log4cplus/logger.h>
#include <sstream>

namespace Velquor::WebServices {

namespace {

constexpr int maximumConfigurationLength = 20480;
constexpr log4cplus::LogLevel off = 60000;
const auto registryKey = std::string("HKEY_CURRENT_USER\\Software\\Velquor\\Web Services");

void write(Log::Level level, const std::string& text) {
    Log::rootLogger().log(level, QString::fromStdString(text));
}

void information(const boost::format& text) {
    write(Log::Level::Information, text.str());
}

QString companionFile(const QString& fileName) {
    const QString folder = librarySetting(QStringLiteral("HalvernDesktopInstallFolder"));
    const QFileInfo file(QDir(folder), fileName);
    return !folder.isEmpty() && file.isFile() ? file.absoluteFilePath() : QString();
}

bool isLogDisabled() {
    const QString value = librarySetting(QStringLiteral("EnableLog"));
    return value == QStringLiteral("0") || value.compare(QStringLiteral("false"), Qt::CaseInsensitive) == 0;
}

void silenceAllLoggers() {
    log4cplus::Logger::getRoot().setLogLevel(off);
    for (log4cplus::Logger& logger : log4cplus::Logger::getCurrentLoggers())
        logger.setLogLevel(off);
}

QString readConfiguration(const QString& path) {
    const Util::AtomicFile::ReadResult file = Util::AtomicFile::read(path, maximumConfigurationLength);
    return file.status == Util::AtomicFile::ReadResult::Status::Read ? QString::fromUtf8(file.data) : QString();
}

QString describeLoggers() {
    QString text;
    for (const log4cplus::Logger& logger : log4cplus::Logger::getCurrentLoggers()) {
        const std::string level = log4cplus::getLogLevelManager().toString(logger.getChainedLogLevel());
        text += QLatin1Char('\n') + QString::fromStdString(boost::str(boost::format("%1%: %2%") % logger.getName() % level));
    }
    return text;
}

void reportLevel(const RootLogLevel& level) {
    if (level.source == RootLogLevel::Source::Environment)
        information(boost::format("Root log level picked up from environment variable %1%") % "VQWS_LOGLEVEL");
    else if (level.source == RootLogLevel::Source::Registry)
        information(boost::format("Root log level picked up from registry %1%:LogLevel") % registryKey);
    else
        information(boost::format("Root log level picked up based on configuration"));
}

QMap<QString, QString> makeProperties(const QString& folder) {
    const RootLogLevel level =
        chooseRootLogLevel(qEnvironmentVariable("VQWS_LOGLEVEL"), librarySetting(QStringLiteral("LogLevel")));
    reportLevel(level);
    const QMap<QString, QString> properties{{QStringLiteral("RootLogLevel"), level.level},
                                            {QStringLiteral("AppName"), QFileInfo(Util::hostExecutablePath()).completeBaseName()},
                                            {QStringLiteral("LocalAppData"), folder}};
    for (auto property = properties.cbegin(); property != properties.cend(); ++property)
        information(boost::format("%1%=%2%") % property.key().toStdString() % property.value().toStdString());
    return properties;
}

bool apply(const QString& path, const QString& folder) {
    const QString text = readConfiguration(path);
    if (text.isEmpty())
        return false;
    std::istringstream stream(withProperties(text, makeProperties(folder)).toStdString());
    log4cplus::PropertyConfigurator(stream).configure();
    for (const QString& name : Loggers::names())
        log4cplus::Logger::getInstance(name.toStdString());
    return true;
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
    const QString folder = logFileFolder();
    if (!QDir(folder).exists() && !Util::ensureOwnerOnlyFolder(folder))
        write(Log::Level::Error, "Failed to create the folder of the log file " + folder.toStdString());
    if (!apply(path, folder)) {
        write(Log::Level::Error, "Failed to setup log");
        return false;
    }
    if (isLogDisabled())
        silenceAllLoggers();
    LogQueuedMessages();
    information(boost::format("Log setup using log configuration file %1%") % path.toStdString());
    information(boost::format("Log file is saved in folder %1%") % folder.toStdString());
    information(boost::format("Loggers and log levels: %1%") % describeLoggers().toStdString());
    writeLogBanner();
    return true;
}

void LogSetupHelper::Log(int level, const std::wstring& text) {
    Log::rootLogger().log(static_cast<Log::Level>(level), QString::fromStdWString(text));
}

void LogSetupHelper::LogQueuedMessages() {
    const QList<Log::QueuedMessage> messages = Log::LogQueue::instance().finish();
    if (messages.isEmpty())
        return;
    Log::ILogger& root = Log::rootLogger();
    root.warning(QStringLiteral("Log was setup after a delay. So some log messages may have been lost."));
    root.information(QStringLiteral("Begin dump of queued log messages (%1)").arg(messages.size()));
    for (const Log::QueuedMessage& message : messages)
        Log::LoggerWrapper(message.logger).log(message.level, message.text);
    root.information(QStringLiteral("End dump of queued log message(s)"));
}

bool LogSetupHelper::isLogEnabled() {
    for (const log4cplus::Logger& logger : log4cplus::Logger::getCurrentLoggers()) {
        if (logger.getChainedLogLevel() != off)
            return true;
    }
    return false;
}

} // namespace Velquor::WebServices
