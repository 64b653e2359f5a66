#include "Doctor/Checks.h"

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
const auto fileName = QStringLiteral("log file");

Finding checkConfiguration() {
    const QString path = WebServicesPrivate::GetLogConfigFile();
    if (path.isEmpty())
        return fault(configurationName,
                     QStringLiteral("\"WebServices.logconfig\" was not found; without it the library does not use the network"),
                     QStringLiteral("put the file next to the library, or name its folder with --support"));
    const QFileInfo info(path);
    if (!info.isReadable() || info.size() == 0 || info.size() > largestConfiguration)
        return fault(configurationName,
                     QStringLiteral("%1 cannot be used: it is empty, not readable or larger than %2 bytes")
                         .arg(path)
                         .arg(largestConfiguration),
                     QStringLiteral("install the file again"));
    return ok(configurationName, path);
}

Finding checkLevel() {
    static const QStringList levels{QStringLiteral("TRACE"), QStringLiteral("DEBUG"), QStringLiteral("INFO"),
                                    QStringLiteral("WARN"),  QStringLiteral("ERROR"), QStringLiteral("FATAL"),
                                    QStringLiteral("OFF")};
    const auto name = QStringLiteral("log level");
    const QString level = qEnvironmentVariable("VQWS_LOGLEVEL");
    if (!level.isEmpty() && !levels.contains(level.trimmed().toUpper()))
        return warning(name, QStringLiteral("VQWS_LOGLEVEL is \"%1\", which is no level").arg(level),
                       QStringLiteral("set it to one of %1").arg(levels.join(QStringLiteral(", "))));
    if (!WebServicesManager::GetInstance()->IsLogEnabled())
        return warning(name, QStringLiteral("the log is switched off"),
                       QStringLiteral("remove the setting \"EnableLog\" or set it to 1"));
    return ok(name, level.isEmpty() ? QStringLiteral("as configured") : QStringLiteral("%1, from VQWS_LOGLEVEL").arg(level));
}

Finding checkFile() {
    const QString folder = WebServicesPrivate::GetLogFileFolder();
    const QString cure =
        QStringLiteral("make %1 a folder that the user may write to, or name another one in VQWS_LOGFILEDIR").arg(folder);
    QTemporaryFile probe(folder + QStringLiteral("/.vqws-XXXXXX"));
    if (!QFileInfo(folder).isDir() || !probe.open())
        return fault(fileName, QStringLiteral("no log can be written in %1").arg(folder), cure);
    const QFileInfo file(WebServicesPrivate::GetLogFile());
    if (file.exists() && !file.isWritable())
        return fault(fileName, QStringLiteral("%1 cannot be written to").arg(file.filePath()),
                     QStringLiteral("give the user the right to write to it, or delete it"));
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
