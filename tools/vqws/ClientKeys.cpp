#include "ClientKeys.h"

#include "CommandLine.h"
#include "Platform/FilePrivacy.h"

#include <QFile>

namespace Vqws {

namespace {

constexpr qint64 longestSecret = 4096;

QString readSecret(const CommandLine& line, const QString& option, const char* variable, ClientKeys& keys) {
    QString inherited = qEnvironmentVariable(variable);
    qunsetenv(variable);
    if (!line.isSet(option))
        return inherited;
    const QString path = line.value(option);
    QFile file(path);
    const QByteArray text = file.open(QIODevice::ReadOnly) ? file.readLine(longestSecret).trimmed() : QByteArray();
    if (text.isEmpty())
        keys.error = QStringLiteral("The file %1 given with --%2 cannot be read or its first line is empty.").arg(path, option);
    else if (!othersWithAccess(path).isEmpty())
        keys.warning = QStringLiteral("Others may read the secret in %1.").arg(path);
    return QString::fromUtf8(text);
}

} // namespace

ClientKeys readClientKeys(const CommandLine& line) {
    ClientKeys keys;
    keys.key = line.valueOr(QStringLiteral("key"), "VQWS_CONSUMER_KEY");
    keys.secret = readSecret(line, QStringLiteral("secret-file"), "VQWS_CONSUMER_SECRET", keys);
    keys.oauth2Key = line.valueOr(QStringLiteral("oauth2-key"), "VQWS_OAUTH2_KEY");
    keys.oauth2Secret = readSecret(line, QStringLiteral("oauth2-secret-file"), "VQWS_OAUTH2_SECRET", keys);
    if (keys.oauth2Key.isEmpty())
        keys.oauth2Key = keys.key;
    if (keys.oauth2Secret.isEmpty())
        keys.oauth2Secret = keys.secret;
    return keys;
}

} // namespace Vqws
