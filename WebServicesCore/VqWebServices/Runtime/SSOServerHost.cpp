#include "Runtime/SSOServerHost.h"

#include <QFileInfo>

namespace Velquor::WebServices::Internal {

bool isSSOServerHost(const QString& executablePath) {
    return QFileInfo(executablePath).baseName().compare(QLatin1String("VqSSOServer"), Qt::CaseInsensitive) == 0;
}

} // namespace Velquor::WebServices::Internal
