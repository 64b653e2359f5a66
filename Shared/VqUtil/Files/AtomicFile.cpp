#include "VqUtil/Files/AtomicFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QThread>
#include <QUuid>

namespace Velquor::Util::AtomicFile {

namespace {

constexpr int firstPauseMs = 10;
constexpr int longestPauseMs = 160;
// Short, since callers hold a lock: a scanner or backup has the file open for a moment.
constexpr int longestReadPauseMs = 40;
constexpr int asideCount = 3;
const auto temporaryMark = QStringLiteral(".writing-");

QString asideName(const QString& path, int number) {
    return path + QStringLiteral(".damaged-%1").arg(number);
}

ReplaceResult replacePatiently(const QString& from, const QString& to, QString* error, Flush flush, int patienceMs) {
    ReplaceResult result = replaceFile(from, to, error, flush);
    int pauseMs = firstPauseMs;
    for (int waitedMs = 0; result == ReplaceResult::Busy && waitedMs < patienceMs; waitedMs += pauseMs) {
        QThread::msleep(static_cast<unsigned long>(pauseMs));
        pauseMs = qMin(pauseMs * 2, longestPauseMs);
        result = replaceFile(from, to, error, flush);
    }
    return result;
}

ReadResult failed(const QString& error, bool isTooLarge = false) {
    return {ReadResult::Status::Failed, {}, error, isTooLarge};
}

ReadResult readOnce(const QString& path, qint64 maximumSize) {
    QFile file;
    QString error;
    if (!openForReading(file, path, &error))
        return failed(error);
    // As much room as it needs: a buffer for the largest file takes longer to get than most files take to read.
    const qint64 size = qMin(file.size(), maximumSize);
    QByteArray data = file.read(size + 1);
    if (data.size() > size)
        data += file.read(maximumSize + 1 - data.size());
    if (file.error() != QFile::NoError)
        return failed(file.errorString());
    if (data.size() > maximumSize)
        return failed(QStringLiteral("It is larger than %1 bytes").arg(maximumSize), true);
    return {ReadResult::Status::Read, data, {}};
}

} // namespace

ReadResult read(const QString& path, qint64 maximumSize) {
    const QFileInfo info(path);
    // A dangling link exists as a link only: it is a fault, not an absent file.
    if (!info.exists() && !info.isSymLink())
        return {ReadResult::Status::Missing, {}, {}};
    if (!info.isFile())
        return failed(QStringLiteral("It is not a regular file"));
    ReadResult result = readOnce(path, maximumSize);
    for (int pauseMs = firstPauseMs;
         result.status == ReadResult::Status::Failed && !result.isTooLarge && pauseMs <= longestReadPauseMs; pauseMs *= 2) {
        QThread::msleep(static_cast<unsigned long>(pauseMs));
        result = readOnce(path, maximumSize);
    }
    return result;
}

bool write(const QString& path, const QByteArray& data, QString* error, Flush flush) {
    return tryToWrite(path, data, error, flush, longestWaitMs) == ReplaceResult::Done;
}

ReplaceResult tryToWrite(const QString& path, const QByteArray& data, QString* error, Flush flush, int patienceMs) {
    const QString temporary = path + temporaryMark + QUuid::createUuid().toString(QUuid::Id128);
    if (!writeOwnerOnlyFile(temporary, data, error, flush))
        return ReplaceResult::Failed;
    const ReplaceResult result = replacePatiently(temporary, path, error, flush, patienceMs);
    if (result != ReplaceResult::Done)
        QFile::remove(temporary);
    return result;
}

QStringList temporaries(const QString& path) {
    const QFileInfo info(path);
    QStringList found;
    const QStringList names =
        info.dir().entryList({info.fileName() + temporaryMark + QLatin1Char('*')}, QDir::Files | QDir::Hidden);
    for (const QString& name : names)
        found += info.dir().filePath(name);
    return found;
}

void removeStaleTemporaries(const QString& path) {
    for (const QString& name : temporaries(path))
        QFile::remove(name);
}

QString setAside(const QString& path) {
    QFile::remove(asideName(path, asideCount));
    for (int number = asideCount - 1; number >= 1; --number)
        QFile::rename(asideName(path, number), asideName(path, number + 1));
    return QFile::rename(path, asideName(path, 1)) ? asideName(path, 1) : QString();
}

void removeSetAside(const QString& path) {
    for (int number = 1; number <= asideCount; ++number)
        QFile::remove(asideName(path, number));
}

} // namespace Velquor::Util::AtomicFile
