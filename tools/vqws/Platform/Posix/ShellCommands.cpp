#include "Platform/ShellCommands.h"

#include "Platform/FilePrivacy.h"
#include "Platform/Settings.h"

#include <unistd.h>

namespace Vqws::ShellCommands {

namespace {

// The owner changes rights without the help of root.
QString asOwner(const QString& path, const QString& command) {
    return otherOwner(path).isEmpty() ? command : QStringLiteral("sudo ") + command;
}

QString words(const QStringList& texts) {
    QString line;
    for (const QString& text : texts)
        line += QLatin1Char(' ') + word(text);
    return line;
}

} // namespace

QString word(const QString& text) {
    QString quoted = text;
    return QLatin1Char('\'') + quoted.replace(QLatin1Char('\''), QStringLiteral("'\\''")) + QLatin1Char('\'');
}

QString inTurn(const QString& first, const QString& second) {
    return first + QStringLiteral("; ") + second;
}

QString makePrivate(const QString& path) {
    return QStringLiteral("chmod go= ") + word(path);
}

QString giveToUser(const QString& path) {
    return QStringLiteral("sudo chown -R %1 ").arg(::geteuid()) + word(path);
}

QString makeReadable(const QString& path) {
    return asOwner(path, QStringLiteral("chmod %1 ").arg(otherOwner(path).isEmpty() ? "u+r" : "a+r") + word(path));
}

QString makeWritable(const QString& path) {
    return asOwner(path, QStringLiteral("chmod u+rwX ") + word(path));
}

QString moveAway(const QString& path) {
    return QStringLiteral("mv") + words({path, path + QStringLiteral(".old")});
}

QString remove(const QStringList& paths) {
    return QStringLiteral("rm -f") + words(paths);
}

QString unset(const QString& variable) {
    return QStringLiteral("unset ") + variable;
}

QString removeSetting(const QString& name) {
    return QStringLiteral("sed -i") + words({QStringLiteral("/^%1 *=/d").arg(name), settingsFile()});
}

QString endProcess(const QString& id) {
    return QStringLiteral("kill -KILL ") + id;
}

} // namespace Vqws::ShellCommands
