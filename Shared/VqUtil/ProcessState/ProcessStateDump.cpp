#include "VqUtil/ProcessState/ProcessStateDump.h"

#include <QFileInfo>

namespace Velquor::Util {

namespace {

// One `arg` call per line: with chained calls, a path or value from outside that contains "%1" would be replaced.
void addRecord(QStringList& lines, int number, const ProcessRecord& record) {
    lines += QStringLiteral("Process %1: %2:%3 (%4)")
                 .arg(QString::number(number), QFileInfo(record.executablePath).baseName(), QString::number(record.processId),
                      record.executablePath);
    lines += QStringLiteral("    Properties (%1):").arg(record.properties.size());
    for (auto property = record.properties.cbegin(); property != record.properties.cend(); ++property)
        lines += QStringLiteral("        %1 = %2").arg(property.key(), property.value().toString());
}

} // namespace

QStringList processStateDump(const QString& context, const ProcessStateView& view) {
    QStringList lines(QStringLiteral("Process state dump (context: %1):").arg(context));
    if (!view.isAttached)
        return lines << QStringLiteral("Shared memory not yet created");
    lines += QStringLiteral("Shared memory size (bytes): Total: %1, Used: %2, Available: %3")
                 .arg(view.size)
                 .arg(view.usedSize)
                 .arg(view.size - view.usedSize);
    lines += QStringLiteral("Processes (%1):").arg(view.records.size());
    for (int index = 0; index < view.records.size(); ++index)
        addRecord(lines, index + 1, view.records.at(index));
    return lines;
}

} // namespace Velquor::Util
