#pragma once

#include "CommandTable.h"

#include <QCommandLineParser>
#include <QStringList>
#include <VqWebServices/Server.h>
#include <optional>

namespace Vqws {

/// The command line, checked against the table of commands.
///
/// Thread: the main thread. Owner: main(). Errors: error() is not empty; only isSet() may be used then.
class CommandLine {
public:
    explicit CommandLine(const QStringList& programAndArguments);

    [[nodiscard]] const QString& error() const { return m_error; }
    /// Null with --help or --version alone.
    [[nodiscard]] const CommandInfo* command() const { return m_command; }
    [[nodiscard]] const QStringList& arguments() const { return m_arguments; }
    [[nodiscard]] bool isSet(const QString& option) const { return m_parser.isSet(option); }
    /// The value of an option that is set.
    [[nodiscard]] QString value(const QString& option) const { return m_parser.value(option); }
    /// The value of the option, else of the environment variable.
    [[nodiscard]] QString valueOr(const QString& option, const char* variable) const;
    /// No value when the option is not given.
    [[nodiscard]] std::optional<int> timeoutSeconds() const { return m_timeoutSeconds; }
    [[nodiscard]] std::optional<Velquor::WebServices::Server> server() const { return m_server; }

private:
    void addOption(const OptionInfo& option);
    [[nodiscard]] QString readCommand();
    [[nodiscard]] QString checkOptions() const;
    [[nodiscard]] QString readValues();

    QCommandLineParser m_parser;
    const CommandInfo* m_command = nullptr;
    QStringList m_names; ///< Of all options.
    QStringList m_arguments;
    std::optional<int> m_timeoutSeconds;
    std::optional<Velquor::WebServices::Server> m_server;
    QString m_error;
};

} // namespace Vqws
