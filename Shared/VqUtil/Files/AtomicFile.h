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

/// Reads the file; one larger than `maximumSize` bytes, or anything but a regular file, is `Failed`. One that the system refuses
/// for the moment is tried again for less than 0.1 seconds.
[[nodiscard]] ReadResult read(const QString& path, qint64 maximumSize);

/// How long `write` waits for who has the target open.
constexpr int longestWaitMs = 5000;

/// Writes the data beside the file, owner-only, and moves it into place. A target that another process holds open is tried again
/// for up to 5 seconds. On failure the old file stands unchanged and `error` says why.
[[nodiscard]] bool write(const QString& path, const QByteArray& data, QString* error, Flush flush = Flush::Yes);

/// The same, for who has better to do than to wait: `Busy` when another process still holds the target open after `patienceMs`.
[[nodiscard]] ReplaceResult tryToWrite(const QString& path, const QByteArray& data, QString* error, Flush flush, int patienceMs);

/// The files beside `path` that its new content is being written to, or was by a process that died.
[[nodiscard]] QStringList temporaries(const QString& path);

/// Removes what processes that died while writing `path` left beside it. Only under the lock of the file.
void removeStaleTemporaries(const QString& path);

/// Moves a damaged file out of the way under a name of its own ("path.damaged-N", the oldest of three is given up).
/// Returns the new name; empty when the move failed.
[[nodiscard]] QString setAside(const QString& path);

/// Removes what was moved out of the way.
void removeSetAside(const QString& path);

} // namespace AtomicFile

} // namespace Velquor::Util
