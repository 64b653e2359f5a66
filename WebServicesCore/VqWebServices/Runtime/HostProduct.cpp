#include "Runtime/HostProduct.h"

#include "Values/LibraryVersion.h"

#include <QFileInfo>

namespace Velquor::WebServices::Internal {

namespace {
const auto syncExecutable = QStringLiteral("VqSync.exe");
}

QString hostProductName(const QString& executablePath) {
    const QFileInfo file(executablePath);
    return file.fileName().compare(syncExecutable, Qt::CaseInsensitive) == 0 ? QStringLiteral("VelquorSync") : file.baseName();
}

bool isSSOServerHost(const QString& executablePath) {
    return QFileInfo(executablePath).baseName().compare(QLatin1String("VqSSOServer"), Qt::CaseInsensitive) == 0;
}

QString userAgentText(const QString& executablePath, const QString& fileVersion, const QString& systemVersion) {
    return QStringLiteral("%1/%2 VelquorWebServicesClient/%3 %4")
        .arg(hostProductName(executablePath), fileVersion.isEmpty() ? QStringLiteral("0.0.0.0") : fileVersion, libraryVersion(),
             QStringLiteral("%1/%2").arg(QStringLiteral("Windows"), systemVersion));
}

} // namespace Velquor::WebServices::Internal
