#pragma once

#include "Doctor/Finding.h"

#include <QString>
#include <QStringList>

namespace Vqws {

class CommandLine;

/// The folders and files of the library, found without starting it: its start would repair what the checks look for.
struct SetUp {
    QString dataFolder;
    QString loginStateFile;
    QStringList supportFolders; ///< In the order of the search.
    QString tool;               ///< This tool as the first word of a command.
    QString options;            ///< The options of this run that another command needs too; empty, or with a blank before.
};

[[nodiscard]] SetUp readSetUp(const CommandLine& line);

/// A command of this tool with the options of this run, to be copied.
[[nodiscard]] QString toolCommand(const SetUp& setUp, const QString& command);
/// What a user does whose sign-in has to be replaced by a new one.
[[nodiscard]] Cure signOutAndIn(const SetUp& setUp, const QString& sentence);
/// What a user does who has to sign in again.
[[nodiscard]] Cure signInAgain(const SetUp& setUp, const QString& remark = {});
/// What root does where the files belong to another user, who uses them.
[[nodiscard]] Cure startAs(const QString& owner);

} // namespace Vqws
