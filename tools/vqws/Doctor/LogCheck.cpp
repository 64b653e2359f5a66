#include "Doctor/Checks.h"
#include "Platform/Settings.h"
#include "Platform/ShellCommands.h"

#include <QFileInfo>
#include <QTemporaryFile>
#include <VqWebServices/WebServicesManager.h>
#include <VqWebServices/WebServicesPrivate.h>

using namespace Velquor::WebServices;

namespace Vqws {

namespace {

// The library does not read a larger file.
constexpr qint64 largestConfiguration = 20480;

const auto configurationName = QStringLiteral("log configuration");
const auto levelName = QStringLiteral("log level");
const auto fileName = QStringLiteral("log file");

Finding checkConfiguration() {
    const QString path = WebServicesPrivate::GetLogConfigFile();
    if (path.isEmpty())
        return fault(
            configurationName,
            QStringLiteral("\"WebServices.logconfig\" was not found; without it the library does not use the network"),
            act(QStringLiteral("whoever installed the product must put the file next to the library, or you name its folder "
                               "with --support")));
    const QFileInfo info(path);
    if (!info.isReadable())
        return fault(configurationName, QStringLiteral("%1 cannot be read").arg(path), run(ShellCommands::makeReadable(path)));
    if (info.size() == 0 || info.size() > largestConfiguration)
        return fault(configurationName,
                     QStringLiteral("%1 cannot be used: it is empty or larger than %2 bytes").arg(path).arg(largestConfiguration),
                     act(QStringLiteral("whoever installed the product must install the file again")));
    return ok(configurationName, path);
}

bool isOff(const QString& level) {
    return level.compare(QLatin1String("OFF"), Qt::CaseInsensitive) == 0;
}

// A variable of the environment comes before a setting, and the switch silences whatever the level is.
Finding logIsOff(const QString& level) {
    const QString text = QStringLiteral("the log is switched off by %1");
    const QString switchOff = setting(QStringLiteral("EnableLog"));
    if (switchOff == QLatin1String("0") || switchOff.compare(QLatin1String("false"), Qt::CaseInsensitive) == 0)
        return warning(levelName, text.arg(QStringLiteral("the setting EnableLog")),
                       run(ShellCommands::removeSetting(QStringLiteral("EnableLog"))));
    if (isOff(level))
        return warning(levelName, text.arg(QStringLiteral("VQWS_LOGLEVEL")),
                       run(ShellCommands::unset(QStringLiteral("VQWS_LOGLEVEL"))));
    if (isOff(setting(QStringLiteral("LogLevel"))))
        return warning(levelName, text.arg(QStringLiteral("the setting LogLevel")),
                       run(ShellCommands::removeSetting(QStringLiteral("LogLevel"))));
    return warning(levelName, text.arg(WebServicesPrivate::GetLogConfigFile()),
                   act(QStringLiteral("whoever installed the product must set a level for a logger in that file")));
}

Finding checkLevel() {
    static const QStringList levels{QStringLiteral("TRACE"), QStringLiteral("DEBUG"), QStringLiteral("INFO"),
                                    QStringLiteral("WARN"),  QStringLiteral("ERROR"), QStringLiteral("FATAL"),
                                    QStringLiteral("OFF")};
    const QString level = qEnvironmentVariable("VQWS_LOGLEVEL").trimmed();
    if (!level.isEmpty() && !levels.contains(level.toUpper()))
        return warning(levelName, QStringLiteral("VQWS_LOGLEVEL is \"%1\", which is no level").arg(level),
                       run(QStringLiteral("set it to one of %1, or remove it").arg(levels.join(QStringLiteral(", "))),
                           ShellCommands::unset(QStringLiteral("VQWS_LOGLEVEL"))));
    if (!WebServicesManager::GetInstance()->IsLogEnabled())
        return logIsOff(level);
    return ok(levelName, level.isEmpty() ? QStringLiteral("as configured") : QStringLiteral("%1, from VQWS_LOGLEVEL").arg(level));
}

// What chose the folder goes; without it the log is in the data folder.
Cure cureForFolder(const QString& folder) {
    const QString sentence = QStringLiteral("let the log be written to the data folder");
    if (!qEnvironmentVariableIsEmpty("VQWS_LOGFILEDIR"))
        return run(sentence, ShellCommands::unset(QStringLiteral("VQWS_LOGFILEDIR")));
    for (const QString& name : {QStringLiteral("WebServicesLogFilePath"), QStringLiteral("WebServicesDataPath")}) {
        if (!setting(name).isEmpty())
            return run(sentence, ShellCommands::removeSetting(name));
    }
    return act(QStringLiteral("see \"data folder\": it is %1").arg(folder));
}

Finding checkFile() {
    const QString folder = WebServicesPrivate::GetLogFileFolder();
    QTemporaryFile probe(folder + QStringLiteral("/.vqws-XXXXXX"));
    if (!QFileInfo(folder).isDir() || !probe.open())
        return fault(fileName, QStringLiteral("no log can be written in %1").arg(folder), cureForFolder(folder));
    const QFileInfo file(WebServicesPrivate::GetLogFile());
    if (file.exists() && !file.isWritable())
        return fault(fileName, QStringLiteral("%1 cannot be written to").arg(file.filePath()),
                     run(ShellCommands::makeWritable(file.filePath())));
    return ok(fileName, file.filePath());
}

} // namespace

Findings checkLog() {
    const Finding configuration = checkConfiguration();
    if (configuration.state != Finding::State::Ok)
        return {configuration};
    return {configuration, checkLevel(), checkFile()};
}

} // namespace Vqws
