#include "Cancellation.h"
#include "Commands/Commands.h"
#include "Doctor/Examination.h"
#include "Library.h"
#include "Output.h"

#include <QJsonArray>
#include <algorithm>

namespace Vqws {

namespace {

constexpr int stateWidth = 9;
constexpr int labelWidth = 29;

int countOf(const Findings& findings, Finding::State state) {
    return static_cast<int>(
        std::count_if(findings.begin(), findings.end(), [state](const Finding& finding) { return finding.state == state; }));
}

// A command has a line of its own, which is never wrapped: so it can be copied.
void show(const Output& output, const Finding& finding) {
    Finding shown = finding;
    const bool hasCommand = !finding.cure.command.isEmpty();
    if (hasCommand)
        shown.cure = act(finding.cure.sentence.isEmpty() ? QStringLiteral("enter") : finding.cure.sentence);
    output.row(stateText(finding.state).leftJustified(stateWidth) + finding.check + QLatin1Char(':'),
               textWithCure(shown) + (hasCommand ? QStringLiteral(":") : QString()), labelWidth);
    if (hasCommand)
        output.line(QString(labelWidth, QLatin1Char(' ')) + finding.cure.command);
}

ExitCode finish(const Output& output, const Findings& findings) {
    const int faults = countOf(findings, Finding::State::Fault);
    const int warnings = countOf(findings, Finding::State::Warning);
    QJsonArray checks;
    for (const Finding& finding : findings)
        checks += toObject(finding);
    output.line(QStringLiteral("Faults: %1, warnings: %2.").arg(faults).arg(warnings));
    const ExitCode code = faults == 0 ? ExitCode::Ok : ExitCode::Failed;
    output.object(
        {{QStringLiteral("faults"), faults}, {QStringLiteral("warnings"), warnings}, {QStringLiteral("checks"), checks}}, code);
    return code;
}

} // namespace

ExitCode runDoctor(Context& context) {
    Examination examination(context, [&context](const Finding& finding) { show(context.output, finding); });
    Library library(context);
    const ExitCode examined = examination.startAndExamine(library);
    if (examined != ExitCode::Ok)
        return examined;
    return context.cancellation.isRequested() ? library.fail({}) : finish(context.output, examination.findings());
}

} // namespace Vqws
