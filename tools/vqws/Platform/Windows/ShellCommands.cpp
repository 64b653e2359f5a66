#include "Platform/ShellCommands.h"

#include <QDir>

namespace Vqws::ShellCommands {

namespace {

QString fileWord(const QString& path) {
    return word(QDir::toNativeSeparators(path));
}

} // namespace

// No name of a file has a quotation mark.
QString word(const QString& text) {
    return QLatin1Char('"') + text + QLatin1Char('"');
}

QString inTurn(const QString& first, const QString& second) {
    return first + QStringLiteral(" & ") + second;
}

// The entries of others are of two kinds: those of the file itself, which the reset removes, and inherited ones.
QString makePrivate(const QString& path) {
    const QString file = fileWord(path);
    return inTurn(QStringLiteral("icacls %1 /reset").arg(file),
                  QStringLiteral("icacls %1 /inheritance:r /grant:r \"%USERNAME%\":F").arg(file));
}

QString giveToUser(const QString&) {
    return {};
}

QString makeReadable(const QString& path) {
    return QStringLiteral("icacls %1 /grant \"%USERNAME%\":R").arg(fileWord(path));
}

QString makeWritable(const QString& path) {
    return inTurn(QStringLiteral("attrib -R %1").arg(fileWord(path)),
                  QStringLiteral("icacls %1 /grant \"%USERNAME%\":F").arg(fileWord(path)));
}

QString moveAway(const QString& path) {
    return QStringLiteral("move %1 %2").arg(fileWord(path), fileWord(path + QStringLiteral(".old")));
}

QString remove(const QStringList& paths) {
    QString command = QStringLiteral("del /f");
    for (const QString& path : paths)
        command += QLatin1Char(' ') + fileWord(path);
    return command;
}

QString unset(const QString& variable) {
    return QStringLiteral("set \"%1=\"").arg(variable);
}

QString removeSetting(const QString& name) {
    return QStringLiteral("reg delete \"HKCU\\Software\\Velquor\\Web Services\" /v %1 /f").arg(name);
}

QString endProcess(const QString& id) {
    return QStringLiteral("taskkill /f /pid ") + id;
}

} // namespace Vqws::ShellCommands
