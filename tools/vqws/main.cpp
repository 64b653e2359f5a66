#include "Cancellation.h"
#include "CommandLine.h"
#include "Commands/Commands.h"
#include "HelpText.h"
#include "Output.h"
#include "Platform/Console.h"
#include "Progress.h"

#include <QCoreApplication>

using namespace Vqws;

namespace {

ExitCode showHelp(const CommandLine& line, const Output& output) {
    if (output.isJson())
        output.plainObject(helpObject(line.command()));
    else
        output.bytes(helpText(line.command(), Console::width(Console::Stream::Output)).toUtf8());
    return ExitCode::Ok;
}

ExitCode showVersion(const Output& output) {
    output.line(QStringLiteral("vqws " VQWS_VERSION));
    output.plainObject({{QStringLiteral("vqws"), QStringLiteral(VQWS_VERSION)}});
    return ExitCode::Ok;
}

ExitCode run(const CommandLine& line) {
    const Output output(line.isSet(QStringLiteral("json")) ? Output::Form::Json : Output::Form::Text,
                        line.isSet(QStringLiteral("quiet")), line.command());
    if (!line.error().isEmpty()) {
        const QString seeHelp =
            line.command() ? QStringLiteral("vqws %1 --help").arg(line.command()->name) : QStringLiteral("vqws --help");
        return output.fail(ExitCode::Usage, QStringLiteral("%1 See \"%2\".").arg(line.error(), seeHelp));
    }
    if (line.isSet(QStringLiteral("help")))
        return showHelp(line, output);
    if (line.isSet(QStringLiteral("version")))
        return showVersion(output);
    Cancellation cancellation(line.timeoutSeconds());
    Progress progress(output, cancellation);
    Context context{line, output, cancellation, progress};
    return line.command()->run(context);
}

} // namespace

int main(int argc, char** argv) {
    Console::takeStandardOutput();
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("vqws"));
    const CommandLine line(QCoreApplication::arguments());
    return static_cast<int>(run(line));
}
