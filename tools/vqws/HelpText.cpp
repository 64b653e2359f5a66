#include "HelpText.h"

#include "Texts.h"

#include <QJsonArray>

namespace Vqws {

namespace {

constexpr int indent = 30;
constexpr int commandIndent = 16;
constexpr int pipeWidth = 100;

const auto exitStatus =
    QStringLiteral("Exit status: 0 success, 1 failure (doctor, check-server: a fault was found, get: the status is not 200 to "
                   "299), 2 the command line is wrong, 3 nobody is signed in, 4 cancelled or timed out.");

QString optionTitle(const OptionInfo& option) {
    return QStringLiteral("--") + option.name + (option.valueName.isEmpty() ? QString() : QLatin1Char(' ') + option.valueName);
}

QString optionLines(const QVector<OptionInfo>& options, int width) {
    QString text;
    for (const OptionInfo& option : options) {
        const QString title = QStringLiteral("  ") + optionTitle(option);
        text += title.leftJustified(indent - 1) + QLatin1Char(' ') + wrapped(option.text, width, indent) + QLatin1Char('\n');
    }
    return text;
}

QString commandLines(int width) {
    QString text;
    for (const CommandInfo& command : commandTable())
        text += QStringLiteral("  ") + command.name.leftJustified(commandIndent - 2)
                + wrapped(command.summary, width, commandIndent) + QLatin1Char('\n');
    return text;
}

QString toolHelp(int width) {
    return QStringLiteral("usage: vqws COMMAND [OPTION...] [ARGUMENT...]\n\n")
           + wrapped(QStringLiteral("Shows and tests the web services login that all products of this user share."), width, 0)
           + QStringLiteral("\n\nCommands:\n") + commandLines(width) + QStringLiteral("\nOptions of all commands:\n")
           + optionLines(commonOptions(), width) + QLatin1Char('\n') + wrapped(exitStatus, width, 0)
           + QStringLiteral("\n\n\"vqws COMMAND --help\" describes a command.\n");
}

QString commandHelp(const CommandInfo& command, int width) {
    const QString arguments = command.arguments.isEmpty() ? QString() : QLatin1Char(' ') + command.arguments;
    QString text = QStringLiteral("usage: vqws %1 [OPTION...]%2\n\n").arg(command.name, arguments)
                   + wrapped(command.summary + QLatin1Char(' ') + command.details, width, 0) + QLatin1Char('\n');
    if (!command.options.isEmpty())
        text += QStringLiteral("\nOptions:\n") + optionLines(command.options, width);
    return text + QStringLiteral("\nOptions of all commands:\n") + optionLines(commonOptions(), width) + QLatin1Char('\n')
           + wrapped(exitStatus, width, 0) + QLatin1Char('\n');
}

QJsonArray optionObjects(const QVector<OptionInfo>& options) {
    QJsonArray array;
    for (const OptionInfo& option : options)
        array += QJsonObject{{QStringLiteral("name"), QStringLiteral("--") + option.name},
                             {QStringLiteral("value"), option.valueName},
                             {QStringLiteral("text"), option.text}};
    return array;
}

} // namespace

QString helpText(const CommandInfo* command, int width) {
    const int lines = width > 0 ? width : pipeWidth;
    return command ? commandHelp(*command, lines) : toolHelp(lines);
}

QJsonObject helpObject(const CommandInfo* command) {
    QJsonArray commands;
    for (const CommandInfo& info : commandTable()) {
        if (!command || command == &info)
            commands += QJsonObject{{QStringLiteral("name"), info.name},
                                    {QStringLiteral("arguments"), info.arguments},
                                    {QStringLiteral("summary"), info.summary},
                                    {QStringLiteral("details"), info.details},
                                    {QStringLiteral("options"), optionObjects(info.options)}};
    }
    return {{QStringLiteral("commands"), commands}, {QStringLiteral("options"), optionObjects(commonOptions())}};
}

} // namespace Vqws
