#pragma once

#include <QByteArray>
#include <QString>

class QFile;

namespace Velquor::Util {

/// What the file system must do beyond QFile: owner-only files from the first byte, flushed to the disk, moved into place.
/// Thread: any. Errors: false (or an empty result); the caller logs.

/// Creates the folder with its parents when it is missing and takes every right of others away from it.
[[nodiscard]] bool ensureOwnerOnlyFolder(const QString& folder);

/// Whether a file must survive a power cut. One that need not, such as news of a moment, spares its writer the wait for the disk.
enum class Flush { Yes, No };

/// Creates the file, which must not exist, readable and writable by its owner only, and writes the data.
/// A file that could not be written whole is removed again. `error` receives the system's text when it is given.
[[nodiscard]] bool writeOwnerOnlyFile(const QString& path, const QByteArray& data, QString* error = nullptr,
                                      Flush flush = Flush::Yes);

/// Opens the file at `path` for reading, through a `file` that is closed, and stands in the way of nobody who replaces or reads
/// the file meanwhile. `error` receives the system's text.
[[nodiscard]] bool openForReading(QFile& file, const QString& path, QString* error);

/// What tells one content of a file from another without reading it.
struct FileStamp {
    qint64 modified = -1; ///< Nanoseconds (as fine as the system tells) since its epoch; -1: there is no file.
    qint64 size = -1;
    quint64 identity = 0; ///< The file system's number of the file: a replaced file has another one.

    [[nodiscard]] bool operator==(const FileStamp& other) const {
        return modified == other.modified && size == other.size && identity == other.identity;
    }
    [[nodiscard]] bool operator!=(const FileStamp& other) const { return !(*this == other); }
};

[[nodiscard]] FileStamp fileStamp(const QString& path);

enum class ReplaceResult { Done, Busy, Failed };

/// Moves `from` over `to` in one step, so that a reader sees the old file or the new one.
/// `Busy` means that another process holds the target open for the moment: trying again may help.
[[nodiscard]] ReplaceResult replaceFile(const QString& from, const QString& to, QString* error = nullptr,
                                        Flush flush = Flush::Yes);

} // namespace Velquor::Util
