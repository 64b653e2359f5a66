#include "Doctor/SetUp.h"

#include "CommandLine.h"
#include "Platform/LoadedModule.h"
#include "Platform/SharedBlockFile.h"
#include "Platform/ShellCommands.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <VqWebServices/IWebServicesManager.h>

namespace Vqws {

namespace {

// The library ignores a variable with a relative path. Qt would take it.
QString localDataFolder() {
    return ignoredDataFolder().isEmpty() ? QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
                                         : QDir::homePath() + QStringLiteral("/.local/share");
}

// The name alone when the shell finds this very program by it.
QString toolWord() {
    const QString path = QCoreApplication::applicationFilePath();
    const QString found = QStandardPaths::findExecutable(QStringLiteral("vqws"));
    const bool isFound = QFileInfo(found).canonicalFilePath() == QFileInfo(path).canonicalFilePath();
    return isFound ? QStringLiteral("vqws") : ShellCommands::word(QDir::toNativeSeparators(path));
}

QString givenOptions(const CommandLine& line) {
    QString options;
    for (const char* const name : {"key", "secret-file", "oauth2-key", "oauth2-secret-file", "support", "ca"}) {
        const QString option = QString::fromLatin1(name);
        if (line.isSet(option))
            options += QStringLiteral(" --%1 %2").arg(option, ShellCommands::word(line.value(option)));
    }
    return options;
}

} // namespace

SetUp readSetUp(const CommandLine& line) {
    SetUp setUp;
    setUp.tool = toolWord();
    setUp.options = givenOptions(line);
    setUp.dataFolder = QDir::cleanPath(localDataFolder() + QStringLiteral("/Velquor/Web Services"));
    setUp.loginStateFile = setUp.dataFolder + QStringLiteral("/LoginState.xml");
    const QString library = modulePathOf(reinterpret_cast<const void*>(&GetIWebServicesManager));
    if (!library.isEmpty())
        setUp.supportFolders += QFileInfo(library).absolutePath();
    const QString given = line.valueOr(QStringLiteral("support"), "VQWS_SUPPORT");
    for (const QString& folder : given.split(QLatin1Char(';'), Qt::SkipEmptyParts))
        setUp.supportFolders += QDir::cleanPath(QDir::fromNativeSeparators(folder.trimmed()));
    return setUp;
}

QString toolCommand(const SetUp& setUp, const QString& command) {
    return setUp.tool + QLatin1Char(' ') + command + setUp.options;
}

Cure signOutAndIn(const SetUp& setUp, const QString& sentence) {
    return run(sentence,
               ShellCommands::inTurn(toolCommand(setUp, QStringLiteral("logout")), toolCommand(setUp, QStringLiteral("login"))));
}

Cure signInAgain(const SetUp& setUp, const QString& remark) {
    return run(QStringLiteral("sign in again in any product, or here with its key and secret%1").arg(remark),
               toolCommand(setUp, QStringLiteral("login")));
}

Cure startAs(const QString& owner) {
    return act(QStringLiteral("start the programs as the user %1, and not as root").arg(owner));
}

} // namespace Vqws
