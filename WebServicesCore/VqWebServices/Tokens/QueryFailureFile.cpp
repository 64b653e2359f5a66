#include "Tokens/QueryFailureFile.h"

#include <QCryptographicHash>
#include <QFile>
#include <QStringList>

namespace Velquor::WebServices::Internal {

namespace {

constexpr int maximumSize = 256;
constexpr int digestSize = 16;

QString digest(const QString& signInId) {
    return QString::fromLatin1(QCryptographicHash::hash(signInId.toUtf8(), QCryptographicHash::Sha256).toHex().left(digestSize));
}

} // namespace

QueryFailureFile::QueryFailureFile(const QString& lockName, const QString& folder)
    : m_path(QStringLiteral("%1/%2.failed").arg(folder, lockName)) {}

QueryFailure QueryFailureFile::read(const QString& signInId) const {
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QStringList words = QString::fromLatin1(file.read(maximumSize)).split(QLatin1Char(' '));
    const QueryFailure failure{words.value(0).toInt(), words.value(1).toLongLong(), signInId};
    return words.value(2) == digest(signInId) ? failure : QueryFailure();
}

void QueryFailureFile::write(const QueryFailure& failure) {
    QFile file(m_path);
    if (!file.open(QIODevice::WriteOnly))
        return;
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    file.write(QStringLiteral("%1 %2 %3").arg(failure.count).arg(failure.timeMs).arg(digest(failure.signInId)).toLatin1());
}

void QueryFailureFile::remove() {
    QFile::remove(m_path);
}

} // namespace Velquor::WebServices::Internal
