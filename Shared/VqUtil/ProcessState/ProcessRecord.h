#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QVariant>
#include <QVector>

namespace Velquor::Util {

/// The properties that a process publishes. A value is a bool, an integer or a text, or an `OpaqueValue` of a later version.
using ProcessProperties = QMap<QString, QVariant>;

/// One process in the process state block. Thread: any. Owner: the holder of the copy.
struct ProcessRecord {
    qint64 processId = 0;
    QString executablePath;
    ProcessProperties properties;
    /// The bytes from the properties on to the end of the block, with the records behind this one. Empty unless a property has a
    /// type of unknown length. They are written back unchanged, while this process lives.
    QByteArray rest{};
    int restRecords = 0; ///< The records in it, without this one.

    [[nodiscard]] bool operator==(const ProcessRecord& other) const {
        return processId == other.processId && executablePath == other.executablePath && properties == other.properties
               && rest == other.rest && restRecords == other.restRecords;
    }
};

using ProcessRecords = QVector<ProcessRecord>;

} // namespace Velquor::Util
