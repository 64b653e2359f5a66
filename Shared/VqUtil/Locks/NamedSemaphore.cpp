#include "VqUtil/Locks/NamedSemaphore.h"

#include <QCryptographicHash>

namespace Velquor::Util {

QString qtSemaphoreName(const QString& key) {
    QString name = QStringLiteral("qipc_systemsem_");
    for (const QChar letter : key) {
        if ((letter >= QLatin1Char('A') && letter <= QLatin1Char('Z'))
            || (letter >= QLatin1Char('a') && letter <= QLatin1Char('z')))
            name += letter;
    }
    return name + QLatin1String(QCryptographicHash::hash(key.toUtf8(), QCryptographicHash::Sha1).toHex());
}

} // namespace Velquor::Util
