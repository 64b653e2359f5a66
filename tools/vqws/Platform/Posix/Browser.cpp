#include "Platform/Browser.h"

#include <QProcess>
#include <QStandardPaths>

namespace Vqws {

bool openInBrowser(const QString& url) {
    // Without a display the browser would be a text browser and would take over the terminal.
    const bool hasDisplay = qEnvironmentVariableIsSet("DISPLAY") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
    const QString opener = QStandardPaths::findExecutable(QStringLiteral("xdg-open"));
    if (opener.isEmpty() || !hasDisplay)
        return false;
    QProcess process;
    process.setProgram(opener);
    process.setArguments({url});
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    return process.startDetached();
}

} // namespace Vqws
