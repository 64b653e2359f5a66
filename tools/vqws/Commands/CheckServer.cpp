#include "Cancellation.h"
#include "CommandLine.h"
#include "Commands/Commands.h"
#include "Contract/ContractCheck.h"
#include "Doctor/SetUp.h"
#include "Library.h"
#include "Output.h"
#include "Progress.h"
#include "SignInPage.h"
#include "Texts.h"
#include "UrlFile.h"

#include <QEventLoop>
#include <QJsonArray>
#include <QNetworkProxyFactory>
#include <QProcess>

using namespace Velquor::WebServices;

namespace Vqws {

namespace {

using State = ContractItem::State;

constexpr int defaultTimeoutSeconds = 300;
constexpr int stateWidth = 13;
constexpr int labelWidth = 38;
const auto commandOption = QStringLiteral("browser-command");

void show(const Output& output, const ContractItem& item) {
    QString text = item.text;
    if (item.state == State::Warning || item.state == State::Fault)
        text += QStringLiteral(". The page says: ") + item.requirement.sentence;
    const QString label = stateText(item.state).leftJustified(stateWidth) + item.requirement.name;
    if (text.isEmpty())
        output.line(label);
    else
        output.row(label + QLatin1Char(':'), text, labelWidth);
}

bool runBrowserCommand(const Context& context, const QString& address) {
    QStringList words = QProcess::splitCommand(context.line.value(commandOption));
    if (words.isEmpty())
        return false;
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QEventLoop loop;
    QObject::connect(&process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), &loop, &QEventLoop::quit);
    QObject::connect(&context.cancellation, &Cancellation::cancelled, &process, &QProcess::kill);
    const QString program = words.takeFirst();
    process.start(program, words << address);
    if (process.waitForStarted())
        loop.exec();
    return process.error() == QProcess::UnknownError && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

bool visit(const Context& context, const QString& address) {
    if (context.line.isSet(commandOption))
        return runBrowserCommand(context, address);
    showSignInPage(context, address);
    return true;
}

ExitCode finish(const Context& context, const ContractReport& report, const QString& leftOver) {
    QJsonArray checks;
    for (const ContractItem& item : report.items())
        checks += toObject(item);
    const int faults = report.count(State::Fault);
    const int warnings = report.count(State::Warning);
    const int notChecked = report.count(State::NotChecked);
    context.output.line(QStringLiteral("Faults: %1, warnings: %2, not checked: %3.").arg(faults).arg(warnings).arg(notChecked));
    QJsonObject object{{QStringLiteral("faults"), faults},
                       {QStringLiteral("warnings"), warnings},
                       {QStringLiteral("notChecked"), notChecked},
                       {QStringLiteral("leftSignedIn"), known(leftOver)},
                       {QStringLiteral("checks"), checks}};
    if (context.cancellation.isRequested())
        return context.output.fail(ExitCode::Cancelled, QStringLiteral("The check was %1.").arg(context.cancellation.reason()),
                                   object);
    const ExitCode code = faults == 0 ? ExitCode::Ok : ExitCode::Failed;
    context.output.object(object, code);
    return code;
}

ExitCode readUrls(const Context& context, QJsonObject& urls) {
    const Server server = context.line.server().value_or(Production);
    const SetUp setUp = readSetUp(context.line);
    const QString path = context.line.arguments().isEmpty() ? findUrlFile(setUp, server) : context.line.arguments().first();
    if (path.isEmpty())
        return context.output.fail(
            ExitCode::Usage, QStringLiteral("%1 was not found; name it, or its folder with --support.").arg(urlFileName(server)));
    const UrlFile file = readUrlFile(path);
    urls = file.urls;
    return file.error.isEmpty() ? ExitCode::Ok : context.output.fail(ExitCode::Usage, file.error + QLatin1Char('.'));
}

} // namespace

ExitCode runCheckServer(Context& context) {
    context.cancellation.setDefaultTimeout(defaultTimeoutSeconds);
    ClientKeys keys;
    QJsonObject urls;
    ExitCode code = readKeysAndTrust(context, true, keys);
    if (code == ExitCode::Ok)
        code = readUrls(context, urls);
    if (code != ExitCode::Ok)
        return code;
    QNetworkProxyFactory::setUseSystemConfiguration(true);
    ContractServer server(urls, keys, context.cancellation);
    ContractReport report([&context](const ContractItem& item) { show(context.output, item); }, context.cancellation);
    ContractCheck check(server, report, keys,
                        {[&context](const QString& address) { return visit(context, address); },
                         [&context](int milliseconds) { return context.cancellation.wait(milliseconds); },
                         context.line.isSet(commandOption)});
    check.run();
    const QString leftOver = check.cleanUp();
    if (!leftOver.isEmpty())
        context.output.note(
            QStringLiteral("The test account may still be signed in at the server (%1). End its sessions there.").arg(leftOver));
    report.finish();
    return finish(context, report, leftOver);
}

} // namespace Vqws
