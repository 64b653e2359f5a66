#include "CommandLine.h"

#include "Texts.h"

#include <algorithm>

namespace Vqws {

namespace {

constexpr int longestTimeoutSeconds = 7 * 24 * 3600;

bool has(const QVector<OptionInfo>& options, const QString& name) {
    return std::any_of(options.begin(), options.end(), [&](const OptionInfo& option) { return option.name == name; });
}

} // namespace

CommandLine::CommandLine(const QStringList& programAndArguments) {
    QVector<OptionInfo> options = commonOptions();
    for (const CommandInfo& command : commandTable())
        options += command.options;
    for (const OptionInfo& option : qAsConst(options))
        addOption(option);
    if (!m_parser.parse(programAndArguments)) {
        m_error = m_parser.errorText();
        return;
    }
    m_error = readCommand();
    if (m_error.isEmpty())
        m_error = checkOptions();
    if (m_error.isEmpty())
        m_error = readValues();
}

// Two commands may have the same one.
void CommandLine::addOption(const OptionInfo& option) {
    if (!m_names.contains(option.name))
        m_parser.addOption({option.name, option.text, option.valueName});
    m_names += option.name;
}

QString CommandLine::readCommand() {
    m_arguments = m_parser.positionalArguments();
    if (m_arguments.isEmpty())
        return isSet(QStringLiteral("help")) || isSet(QStringLiteral("version")) ? QString()
                                                                                 : QStringLiteral("No command given.");
    const QString name = m_arguments.takeFirst();
    m_command = findCommand(name);
    if (!m_command)
        return QStringLiteral("There is no command \"%1\".").arg(name);
    if (isSet(QStringLiteral("help")))
        return {};
    if (m_arguments.size() < m_command->leastArguments)
        return QStringLiteral("\"%1\" needs %2.").arg(name, m_command->arguments);
    if (m_arguments.size() > m_command->mostArguments)
        return QStringLiteral("\"%1\" takes no argument \"%2\".").arg(name, m_arguments.at(m_command->mostArguments));
    return {};
}

QString CommandLine::checkOptions() const {
    const QStringList names = m_parser.optionNames();
    for (const QString& name : names) {
        if (!has(commonOptions(), name) && !(m_command && has(m_command->options, name)))
            return QStringLiteral("\"--%1\" is no option of this command.").arg(name);
    }
    return {};
}

QString CommandLine::readValues() {
    if (isSet(QStringLiteral("timeout"))) {
        bool isNumber = false;
        const int seconds = value(QStringLiteral("timeout")).toInt(&isNumber);
        if (!isNumber || seconds < 1 || seconds > longestTimeoutSeconds)
            return QStringLiteral("\"--timeout\" takes whole seconds from 1 to %1.").arg(longestTimeoutSeconds);
        m_timeoutSeconds = seconds;
    }
    if (isSet(QStringLiteral("server"))) {
        m_server = serverNamed(value(QStringLiteral("server")));
        if (!m_server)
            return QStringLiteral("\"--server\" is production, staging or development.");
    }
    return {};
}

QString CommandLine::valueOr(const QString& option, const char* variable) const {
    return isSet(option) ? value(option) : qEnvironmentVariable(variable);
}

} // namespace Vqws
