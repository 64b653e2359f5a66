#include "VqUtil/General/AtomicFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QThread>
#include <QUuid>

namespace Velquor::Util::AtomicFile {

namespace {

constexpr int firstPauseMs = 10;
constexpr int longestPauseMs = 160;
constexpr int longestWaitMs = 5000;
constexpr int asideCount = 3;
const auto temporaryMark = QStringLiteral(".writing-");

QString asideName(const QString& path, int number) { return path + QStringLiteral(".damaged-%1").arg(number); }

ReplaceResult replacePatiently(const QString& from, const QString& to, QString* error, Flush flush) {
    ReplaceResult result = replaceFile(from, to, error, flush);
    int pauseMs = firstPauseMs;
    for (int waitedMs = 0; result == ReplaceResult::Busy && waitedMs < longestWaitMs; waitedMs += pauseMs) {
        QThread::msleep(static_cast<unsigned long>(pauseMs));
        pauseMs = qMin(pauseMs * 2, longestPauseMs);
        result = replaceFile(from, to, error, flush);
    }
    return result;
}

} // namespace

ReadResult read(const QString& path, qint64 maximumSize) {
    const QFileInfo info(path);
    // A dangling link exists as a link only: it is a fault, not an absent file.
    if (!info.exists() && !info.isSymLink())
        return {ReadResult::Status::Missing, {}, {}};
    if (!info.isFile())
        return {ReadResult::Status::Failed, {}, QStringLiteral("It is not a regular file")};
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {ReadResult::Status::Failed, {}, file.errorString()};
    QByteArray data = file.read(maximumSize + 1);
    if (file.error() != QFile::NoError)
        return {ReadResult::Status::Failed, {}, file.errorString()};
    if (data.size() > maximumSize)
        return {ReadResult::Status::Failed, {}, QStringLiteral("It is larger than %1 bytes").arg(maximumSize)};
    return {ReadResult::Status::Read, data, {}};
}

bool write(const QString& path, const QByteArray& data, QString* error, Flush flush) {
    const QString temporary = path + temporaryMark + QUuid::createUuid().toString(QUuid::Id128);
    if (!writeOwnerOnlyFile(temporary, data, error, flush))
        return false;
    if (replacePatiently(temporary, path, error, flush) == ReplaceResult::Done)
        return true;
    QFile::remove(temporary);
    return false;
}

QStringList temporaries(const QString& path) {
    const QFileInfo info(path);
    QStringList found;
    const QStringList names = info.dir().entryList({info.fileName() + temporaryMark + QLatin1Char('*')}, QDir::Files | QDir::Hidden);
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
