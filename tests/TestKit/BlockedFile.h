#pragma once

#include <QDir>
#include <QFile>
#include <QString>

namespace Velquor::TestKit {

/// While it lives, the file can neither be read nor written: a folder has its name. Thread: the test's.
class BlockedFile {
public:
    explicit BlockedFile(const QString& path)
        : m_path(path) {
        QFile::rename(m_path, keptName());
        QDir().mkdir(m_path);
    }
    ~BlockedFile() {
        QDir().rmdir(m_path);
        QFile::rename(keptName(), m_path);
    }
    BlockedFile(const BlockedFile&) = delete;
    BlockedFile& operator=(const BlockedFile&) = delete;

private:
    [[nodiscard]] QString keptName() const { return m_path + QStringLiteral(".kept"); }

    const QString m_path;
};

} // namespace Velquor::TestKit
