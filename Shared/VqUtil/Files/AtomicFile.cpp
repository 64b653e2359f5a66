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
// Short, since callers hold a lock. A virus scanner or a backup holds a file open only briefly.
constexpr int longestReadPauseMs = 40;
constexpr int asideCount = 3;
const auto temporaryInfix = QStringLiteral(".writing-");

QString asideName(const QString& path, int number) {
    return path + QStringLiteral(".damaged-%1").arg(number);
}

Replacement replacePatiently(const QString& from, const QString& to, Flush flush, int patienceMs) {
    Replacement result = replaceFile(from, to, flush);
    int pauseMs = firstPauseMs;
    for (int waitedMs = 0; result.isBusy() && waitedMs < patienceMs; waitedMs += pauseMs) {
        QThread::msleep(static_cast<unsigned long>(pauseMs));
        pauseMs = qMin(pauseMs * 2, longestPauseMs);
        result = replaceFile(from, to, flush);
    }
    return result;
}

ReadResult failed(const QString& error, bool isTooLarge = false) {
    return {ReadResult::Status::Failed, {}, error, isTooLarge};
}

ReadResult readOnce(const QString& path, qint64 maximumSize) {
    QFile file;
    const Result<void> opened = openForReading(file, path);
    if (!opened)
        return failed(opened.reason());
    // Allocate what the file needs: a buffer for the largest file takes longer to allocate than most files take to read.
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
    // A dangling link is a fault, not a missing file.
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

ReadResult readOwn(const QString& path, qint64 maximumSize) {
    const Result<void> owner = checkOwner(path);
    return owner ? read(path, maximumSize) : failed(owner.reason());
}

Result<void> write(const QString& path, const QByteArray& data, Flush flush) {
    const Replacement result = tryToWrite(path, data, flush, longestWaitMs);
    return result.isDone() ? Result<void>() : Failure{result.error};
}

Replacement tryToWrite(const QString& path, const QByteArray& data, Flush flush, int patienceMs) {
    if (const Result<void> owner = checkOwner(path); !owner)
        return {Replacement::Status::Failed, owner.reason()};
    const QString temporary = path + temporaryInfix + QUuid::createUuid().toString(QUuid::Id128);
    const Result<void> written = writeOwnerOnlyFile(temporary, data, flush);
    if (!written)
        return {Replacement::Status::Failed, written.reason()};
    const Replacement result = replacePatiently(temporary, path, flush, patienceMs);
    if (!result.isDone())
        QFile::remove(temporary);
    return result;
}

QStringList temporaries(const QString& path) {
    const QFileInfo info(path);
    QStringList found;
    const QStringList names =
        info.dir().entryList({info.fileName() + temporaryInfix + QLatin1Char('*')}, QDir::Files | QDir::Hidden);
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
