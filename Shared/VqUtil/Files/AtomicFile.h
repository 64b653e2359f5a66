#pragma once

#include "VqUtil/Files/FileAccess.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace Velquor::Util {

/// Small files that are read whole within a bound and replaced whole: a reader sees the old document or the new one.
/// Thread: any. Callers that read, change and write hold a lock around all three.
namespace AtomicFile {

struct ReadResult {
    enum class Status { Read, Missing, Failed } status = Status::Failed;
    QByteArray data;
    QString error;           ///< For `Failed`: what went wrong, in one sentence.
    bool isTooLarge = false; ///< For `Failed`: no later try will read it either.
};

/// Reads the file. A file larger than `maximumSize` bytes, or anything but a regular file, is `Failed`. A file that the system
/// refuses to open is tried again for less than 0.1 seconds.
[[nodiscard]] ReadResult read(const QString& path, qint64 maximumSize);

/// The same for a file that only the library writes: `Failed` when it, or the folder that lacks it, belongs to another user.
[[nodiscard]] ReadResult readOwn(const QString& path, qint64 maximumSize);

/// How long `write` waits while another process holds the target open.
constexpr int longestWaitMs = 5000;

/// Writes the data to a new file next to `path`, owner-only, and moves it into place. A target that another process holds open is
/// tried again for up to 5 seconds. On failure the old file is unchanged. Fails where another user is the owner.
[[nodiscard]] Result<void> write(const QString& path, const QByteArray& data, Flush flush = Flush::Yes);

/// The same for a caller that must not wait long: `Busy` when another process still holds the target open after `patienceMs`.
[[nodiscard]] Replacement tryToWrite(const QString& path, const QByteArray& data, Flush flush, int patienceMs);

/// The temporary files next to `path`: of writes that are running, or of processes that died while they wrote.
[[nodiscard]] QStringList temporaries(const QString& path);

/// Removes the temporary files of processes that died while they wrote `path`. Only under the lock of the file.
void removeStaleTemporaries(const QString& path);

/// Renames a damaged file to "path.damaged-N". Three are kept; the oldest is removed.
/// Returns the new name; empty when the move failed.
[[nodiscard]] QString setAside(const QString& path);

/// Removes the damaged files that were set aside.
void removeSetAside(const QString& path);

} // namespace AtomicFile

} // namespace Velquor::Util
