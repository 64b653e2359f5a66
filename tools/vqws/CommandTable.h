#pragma once

#include "ExitCode.h"

#include <QString>
#include <QVector>

namespace Vqws {

struct Context;

/// An option as help, parser and completion know it. Without a value name it is a switch.
struct OptionInfo {
    QString name;
    QString valueName;
    QString text;
};

/// A command as help, parser and completion know it, and what carries it out.
struct CommandInfo {
    QString name;
    QString arguments; ///< as the usage line shows them
    int leastArguments = 0;
    int mostArguments = 0;
    QString summary;
    QString details;
    QVector<OptionInfo> options;
    ExitCode (*run)(Context& context) = nullptr;
};

/// The one list of commands and options: the parser, the help and the completion files follow it. Thread: any.
[[nodiscard]] const QVector<CommandInfo>& commandTable();
[[nodiscard]] const QVector<OptionInfo>& commonOptions();
/// Null when there is no such command.
[[nodiscard]] const CommandInfo* findCommand(const QString& name);

} // namespace Vqws
