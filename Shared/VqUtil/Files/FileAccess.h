#pragma once

#include "VqUtil/General/Result.h"

#include <QByteArray>
#include <QString>

class QFile;

namespace Velquor::Util {

/// What QFile does not offer: files that are owner-only from the first byte, flushed to the disk, and moved into place.
/// Thread: any. Errors: a failure with the system's text, or false; the caller logs.

/// Fails when the file or folder at `path` belongs to another user; while there is none, when the folder in which it would be
/// made belongs to one who is not the system. A program that is started as root in a user's home folder would otherwise leave
/// files that lock the user out. On Windows it never fails: access lists decide there, and what a program of the user makes with
/// the rights of an administrator belongs to the administrators.
[[nodiscard]] Result<void> checkOwner(const QString& path);

/// Whether the file is a plain one of this user or of the system. A file of another user may be a pipe that never ends, say what
/// its owner wants, or be changed while it is read. On Windows every file counts.
[[nodiscard]] bool isOwnOrSystemFile(const QString& path);

/// Fails when another user may replace what is in the folder: it or a link to it belongs to one who is not the system, or it or a
/// folder above is open to all users without the sticky bit. A missing folder is nobody's. On Windows it never fails.
[[nodiscard]] Result<void> checkWay(const QString& folder);

/// For a file that another library opens for writing. Fails when another user decides where the text goes or how long a write
/// takes: the file or a link to it belongs to one, or the way to it does. Creates a missing file, with `Others::None` for the
/// user alone, since who may read a file can lock it. On Windows it does nothing.
enum class Others { Mask, None };
[[nodiscard]] Result<void> claimFile(const QString& path, Others others);

/// Creates the folder with its parents when it is missing, and removes all rights of other users from it. Files of other
/// users in a folder that they could write to get other names. Nothing is changed or
/// created where another user is the owner.
[[nodiscard]] Result<void> ensureOwnerOnlyFolder(const QString& folder);

/// The same for a folder in a place where other users may make folders too. False, and nothing is changed, when the folder is
/// another user's or a link, or when its owner shares it.
[[nodiscard]] bool claimFolder(const QString& folder);

/// Whether a file must survive a power cut. The writer of a short-lived file need not wait for the disk.
enum class Flush { Yes, No };

/// Takes the right to write away from other users, where the folder is this user's: whoever may write to a folder without the
/// sticky bit can move away what is in it. On Windows it does nothing.
void closeToOtherWriters(const QString& folder);

/// Creates the file, which must not exist, readable and writable by its owner only, and writes the data.
/// A file that could not be written whole is removed again.
[[nodiscard]] Result<void> writeOwnerOnlyFile(const QString& path, const QByteArray& data, Flush flush = Flush::Yes);

/// Opens the file at `path` for reading, through a `file` that is closed. Other processes may read, replace and delete the file
/// while it is open.
[[nodiscard]] Result<void> openForReading(QFile& file, const QString& path);

/// Identifies one content of a file without reading it.
struct FileStamp {
    qint64 modified = -1; ///< Nanoseconds (as precise as the system reports) since its epoch; -1: there is no file.
    qint64 size = -1;
    quint64 identity = 0; ///< The file system's number of the file: a replaced file has another one.

    [[nodiscard]] bool operator==(const FileStamp& other) const {
        return modified == other.modified && size == other.size && identity == other.identity;
    }
    [[nodiscard]] bool operator!=(const FileStamp& other) const { return !(*this == other); }
};

[[nodiscard]] FileStamp fileStamp(const QString& path);

/// How the replacement of a file ended.
struct Replacement {
    enum class Status {
        Done,
        Busy, ///< Another process holds the target open: trying again may help.
        Failed,
    } status = Status::Failed;
    QString error; ///< The system's text, unless it is done.

    [[nodiscard]] bool isDone() const { return status == Status::Done; }
    [[nodiscard]] bool isBusy() const { return status == Status::Busy; }
};

/// Moves `from` over `to` in one step, so that a reader sees the old file or the new one.
[[nodiscard]] Replacement replaceFile(const QString& from, const QString& to, Flush flush = Flush::Yes);

} // namespace Velquor::Util
