#include "Doctor/Checks.h"
#include "Platform/Settings.h"
#include "Platform/ShellCommands.h"

namespace Vqws {

Findings checkSettings() {
    const QString file = ignoredSettingsFile();
    if (file.isEmpty())
        return {};
    return {warning(QStringLiteral("settings"),
                    QStringLiteral("%1 is not used: it belongs to another user, or is no regular file").arg(file),
                    run(ShellCommands::moveAway(file)))};
}

} // namespace Vqws
