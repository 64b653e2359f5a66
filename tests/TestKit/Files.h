#pragma once

#include <QFile>

namespace Velquor::TestKit {

/// The contents of a file; empty when it cannot be read. Thread: any.
[[nodiscard]] inline QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

[[nodiscard]] inline bool writeFile(const QString& path, const QByteArray& contents) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size();
}

} // namespace Velquor::TestKit
