#include "Runtime/LogConfiguration.h"

#include "Runtime/SilencedLoggers.h"
#include "Values/LibrarySettings.h"
#include "Values/Loggers.h"
#include "VqLog/LoggerWrapper.h"
#include "VqUtil/Files/AtomicFile.h"
#include "VqUtil/Files/FileAccess.h"
#include "VqUtil/Files/NarrowPath.h"
#include "VqUtil/Platform/HostProcess.h"

#include <QByteArray>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QRegularExpression>
#include <QStringList>
#include <boost/format.hpp>
#include <log4cplus/appender.h>
#include <log4cplus/configurator.h>
#include <log4cplus/helpers/loglog.h>
#include <log4cplus/hierarchy.h>
#include <log4cplus/logger.h>
#include <sstream>

namespace Velquor::WebServices::Internal {

namespace {

constexpr int maximumConfigurationLength = 20480;
const auto registryKey = std::string("HKEY_CURRENT_USER\\Software\\Velquor\\Web Services");

void information(const boost::format& text) {
    Log::rootLogger().information(QString::fromStdString(text.str()));
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

QString knownLevel(const QString& text) {
    static const QStringList levels{QStringLiteral("TRACE"), QStringLiteral("DEBUG"), QStringLiteral("INFO"),
                                    QStringLiteral("WARN"),  QStringLiteral("ERROR"), QStringLiteral("FATAL"),
                                    QStringLiteral("OFF")};
    const QString level = text.trimmed().toUpper();
    return levels.contains(level) ? level : QString();
}

// In bytes, since the name of a folder need not be UTF-8.
QByteArray withProperties(QByteArray configuration, const QMap<QByteArray, QByteArray>& properties) {
    for (auto property = properties.cbegin(); property != properties.cend(); ++property)
        configuration.replace("${" + property.key() + '}', property.value());
    return configuration;
}

/// Keeps the errors of appenders from the host's standard error stream. The support tool says when no log can be written.
class NoErrors final : public log4cplus::ErrorHandler {
public:
    void error(const log4cplus::tstring&) override {}
    void reset() override {}
};

// The log library waits without an end for a pipe that nobody reads, and for a lock that somebody holds.
Util::Result<void> claimFiles(const QByteArray& configuration) {
    const QRegularExpression file(QStringLiteral("^\\s*log4cplus\\.appender\\.[^=]*\\.(Lock)?File\\s*=\\s*(.*?)\\s*$"),
                                  QRegularExpression::MultilineOption);
    for (QRegularExpressionMatchIterator found = file.globalMatch(QFile::decodeName(configuration)); found.hasNext();) {
        const QRegularExpressionMatch one = found.next();
        const auto others = one.captured(1).isEmpty() ? Util::Others::Mask : Util::Others::None;
        if (Util::Result<void> claimed = Util::claimFile(one.captured(2), others); !claimed)
            return claimed;
    }
    return {};
}

void configureQuietly(const QByteArray& text) {
    log4cplus::helpers::LogLog* const errors = log4cplus::helpers::LogLog::getLogLog();
    errors->setQuietMode(true);
    std::istringstream stream(text.toStdString());
    log4cplus::PropertyConfigurator(stream).configure();
    errors->setQuietMode(false);
    // Not those of other names, which may be the host's.
    for (const QString& name : Loggers::names()) {
        for (const log4cplus::SharedAppenderPtr& appender : log4cplus::Logger::getInstance(name.toStdString()).getAllAppenders())
            appender->setErrorHandler(std::make_unique<NoErrors>());
    }
}

} // namespace

RootLogLevel chooseRootLogLevel(const QString& environment, const QString& registry) {
    if (!knownLevel(environment).isEmpty())
        return {RootLogLevel::Source::Environment, knownLevel(environment)};
    if (!knownLevel(registry).isEmpty())
        return {RootLogLevel::Source::Registry, knownLevel(registry)};
    return {RootLogLevel::Source::Configuration, QStringLiteral("INFO")};
}

LogConfiguration::LogConfiguration(const QString& folder)
    : m_level(chooseRootLogLevel(qEnvironmentVariable("VQWS_LOGLEVEL"), librarySetting(QStringLiteral("LogLevel"))))
    , m_application(QFileInfo(Util::hostExecutablePath()).completeBaseName())
    , m_folder(folder) {}

Util::Result<void> LogConfiguration::apply(const QString& path) const {
    const Util::AtomicFile::ReadResult file = Util::AtomicFile::read(path, maximumConfigurationLength);
    if (file.status != Util::AtomicFile::ReadResult::Status::Read)
        return Util::Failure{file.error.isEmpty() ? QStringLiteral("The file is gone") : file.error};
    if (file.data.trimmed().isEmpty())
        return Util::Failure{QStringLiteral("The file is empty")};
    const QByteArray text = withProperties(file.data, {{"RootLogLevel", m_level.level.toUtf8()},
                                                       {"AppName", m_application.toUtf8()},
                                                       {"LocalAppData", Util::narrowFolderName(m_folder)}});
    if (Util::Result<void> claimed = claimFiles(text); !claimed)
        return claimed;
    SilencedLoggers::restore();
    configureQuietly(text);
    // Created now, so that the report and a later silencing include them.
    for (const QString& name : Loggers::names())
        log4cplus::Logger::getInstance(name.toStdString());
    return {};
}

void LogConfiguration::report(const QString& path) const {
    reportProperties();
    information(boost::format("Log setup using log configuration file %1%") % path.toStdString());
    information(boost::format("Log file is saved in folder %1%") % m_folder.toStdString());
    information(boost::format("Loggers and log levels: %1%") % describeLoggers().toStdString());
}

void LogConfiguration::reportProperties() const {
    reportLevel(m_level);
    information(boost::format("%1%=%2%") % "RootLogLevel" % m_level.level.toStdString());
    information(boost::format("%1%=%2%") % "AppName" % m_application.toStdString());
    information(boost::format("%1%=%2%") % "LocalAppData" % m_folder.toStdString());
}

} // namespace Velquor::WebServices::Internal
