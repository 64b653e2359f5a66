#pragma once

#include <QMap>
#include <QString>
#include <QVariant>
#include <QVector>

namespace Velquor::Util {

/// The properties that a process publishes. A value is a bool, an integer or a text. Reading a block stops at any other type.
using ProcessProperties = QMap<QString, QVariant>;

/// One process in the process state block. Thread: any. Owner: the holder of the copy.
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
