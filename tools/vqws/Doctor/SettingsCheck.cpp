#include "Doctor/Checks.h"
#include "Platform/FilePrivacy.h"
#include "Platform/Settings.h"
#include "Platform/ShellCommands.h"

namespace Vqws {

namespace {

// To root the file may be another user's good one, which stays where it is.
Cure cureFor(const QString& file) {
    const QString owner = otherOwner(file);
    return isRoot() && !owner.isEmpty() ? startAs(owner) : run(ShellCommands::moveAway(file));
}

} // namespace

Findings checkSettings() {
    const QString file = ignoredSettingsFile();
    if (file.isEmpty())
        return {};
    return {warning(QStringLiteral("settings"),
                    QStringLiteral("%1 is not used: it belongs to another user, or is no regular file").arg(file),
                    cureFor(file))};
}

} // namespace Vqws
