#include "Doctor/Checks.h"
#include "Platform/FilePrivacy.h"
#include "Platform/SharedBlockFile.h"
#include "Platform/ShellCommands.h"

#include <QRegularExpression>
#include <VqWebServices/WebServicesPrivate.h>

using namespace Velquor::WebServices;

namespace Vqws {

namespace {

constexpr int wholeSize = 65536;

const auto name = QStringLiteral("shared block");

Finding checkSizes(const QString& dump) {
    static const QRegularExpression sizes(QStringLiteral("Total: (\\d+), Used: (\\d+), Available: (\\d+)"));
    static const QRegularExpression processes(QStringLiteral("Processes \\((\\d+)\\):"));
    const QRegularExpressionMatch match = sizes.match(dump);
    if (!match.hasMatch())
        return ok(name, QStringLiteral("not created yet: no program is requesting a token"));
    const int total = match.captured(1).toInt();
    const int used = match.captured(2).toInt();
    const Cure cure = act(QStringLiteral("end all programs that use the web services, and start them again"));
    if (total < wholeSize)
        return warning(name, QStringLiteral("a program created it with %1 instead of %2 bytes").arg(total).arg(wholeSize), cure);
    if (used > total - total / 10)
        return warning(name, QStringLiteral("it is nearly full: %1 of %2 bytes").arg(used).arg(total), cure);
    return ok(name,
              QStringLiteral("%1 of %2 bytes used, %3 processes").arg(used).arg(total).arg(processes.match(dump).captured(1)));
}

} // namespace

Findings checkBlock(const SetUp& setUp) {
    const QString file = sharedBlockFile(setUp.dataFolder);
    const QString others = file.isEmpty() ? QString() : othersWithAccess(file);
    if (!others.isEmpty())
        return {fault(name, QStringLiteral("%1 has access to %2, so the library does not use it").arg(others, file),
                      run(QStringLiteral("end all programs that use the web services"), ShellCommands::remove({file})))};
    return {checkSizes(WebServicesPrivate::GetProcessStateDump().join(QLatin1Char('\n')))};
}

} // namespace Vqws
