#include "Runtime/LogBanner.h"

#include "Values/LibraryVersion.h"
#include "VqLog/LoggerWrapper.h"
#include "VqUtil/Platform/HostProcess.h"
#include "VqUtil/Platform/SystemProxySettings.h"

#include <QFileInfo>

namespace Velquor::WebServices::Internal {

void writeLogBanner() {
    Log::ILogger& logger = Log::rootLogger();
    const QString module = Util::ownModulePath();
    const QString configuration = QStringLiteral("%1-%2").arg(QStringLiteral("x64"), QStringLiteral("Release"));
    logger.information(
        QStringLiteral("%0 module loaded (Version: %1, Config: %2, File: %3) in executable %4")
            .arg(QFileInfo(module).fileName(), libraryVersion(), configuration, module, Util::hostExecutablePath()));
    logger.information(QStringLiteral("Operating System: %1 (%2)").arg(Util::systemName(), QStringLiteral("64-bit")));
    logger.information(QStringLiteral("Proxy settings:\n%1").arg(Util::systemProxySettings().join(QLatin1Char('\n'))));
}

} // namespace Velquor::WebServices::Internal
