#pragma once

#include <QMap>
#include <QString>
#include <QVariant>
#include <QVector>

namespace Velquor::Util {

/// What a process publishes. Values are of type bool, an integer type or text; a block with others is not read beyond them.
using ProcessProperties = QMap<QString, QVariant>;

/// One process in the process state block. Thread: any. Owner: whoever holds the copy.
struct ProcessRecord {
    qint64 processId = 0;
    QString executablePath;
    ProcessProperties properties;

    [[nodiscard]] bool operator==(const ProcessRecord& other) const {
        return processId == other.processId && executablePath == other.executablePath && properties == other.properties;
    }
};

using ProcessRecords = QVector<ProcessRecord>;

} // namespace Velquor::Util
