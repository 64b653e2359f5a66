#pragma once

#include "ExitCode.h"

#include <QString>
#include <QStringList>
#include <QVector>

namespace Vqws {

struct Context;

/// An option, for help, parser and completion. Without a value name it is a switch.
struct OptionInfo {
    QString name;
    QString valueName;
    QString text;
};

/// A command, for help, parser and completion, and the function that runs it.
struct CommandInfo {
    QString name;
    QString arguments; ///< In the form of the usage line.
    int leastArguments = 0;
    int mostArguments = 0;
    QString summary;
    QString details;
    QVector<OptionInfo> options;
    QStringList keys; ///< Of its JSON, beside those that all commands have.
    ExitCode (*run)(Context& context) = nullptr;
};

/// The only list of commands and options. The parser and the help use it, and the completion files must match it. Thread: any.
[[nodiscard]] const QVector<CommandInfo>& commandTable();
[[nodiscard]] const QVector<OptionInfo>& commonOptions();
/// Null when there is no such command.
[[nodiscard]] const CommandInfo* findCommand(const QString& name);

} // namespace Vqws
