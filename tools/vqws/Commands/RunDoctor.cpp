#include "Cancellation.h"
#include "CommandLine.h"
#include "Commands/Commands.h"
#include "Doctor/Checks.h"
#include "Library.h"
#include "Output.h"
#include "Progress.h"

#include <QJsonArray>
#include <algorithm>

namespace Vqws {

namespace {

constexpr int stateWidth = 9;
constexpr int labelWidth = 29;

QString stateText(Finding::State state) {
    switch (state) {
    case Finding::State::Ok: return QStringLiteral("ok");
    case Finding::State::Warning: return QStringLiteral("warning");
    case Finding::State::Fault: break;
    }
    return QStringLiteral("fault");
}

QJsonObject toObject(const Finding& finding) {
    return {{QStringLiteral("check"), finding.check},
            {QStringLiteral("state"), stateText(finding.state)},
            {QStringLiteral("text"), finding.text},
            {QStringLiteral("cure"), finding.cure}};
}

int countOf(const Findings& findings, Finding::State state) {
    return static_cast<int>(
        std::count_if(findings.begin(), findings.end(), [state](const Finding& finding) { return finding.state == state; }));
}

/// Runs the checks one after the other and shows their findings. Thread: the main thread. Owner: runDoctor.
class Round {
public:
    explicit Round(Context& context)
        : m_context(context)
        , m_setUp(readSetUp(context.line.valueOr(QStringLiteral("support"), "VQWS_SUPPORT"))) {}

    void beforeTheStart() {
        add("the data folder", [this] { return checkFolder(m_setUp); });
        add("the login state file", [this] { return checkStateFile(m_setUp); });
        add("the lock of the login state file", [this] { return checkLock(m_setUp, m_context.cancellation); });
    }

    void afterTheStart(const Library& library) {
        add("the log", [] { return checkLog(); });
        add("the URL files", [&] { return checkUrlFiles(m_setUp, library.manager().GetServer()); });
        add("the TLS library", [] { return checkTls(); });
        add("the proxy", [] { return checkProxy(); });
        add("the account server", [this] { return checkServer(m_context.cancellation); });
        add("the shared block", [this] { return checkBlock(m_setUp); });
    }

    ExitCode finish() const {
        const int faults = countOf(m_findings, Finding::State::Fault);
        const int warnings = countOf(m_findings, Finding::State::Warning);
        QJsonArray checks;
        for (const Finding& finding : m_findings)
            checks += toObject(finding);
        m_context.output.line(QStringLiteral("Faults: %1, warnings: %2.").arg(faults).arg(warnings));
        m_context.output.object(
            {{QStringLiteral("faults"), faults}, {QStringLiteral("warnings"), warnings}, {QStringLiteral("checks"), checks}},
            faults == 0);
        return faults == 0 ? ExitCode::Ok : ExitCode::Failed;
    }

private:
    // Runs no check after cancellation, since the library is shutting down then.
    template <class Check>
    void add(const char* what, const Check& check) {
        if (m_context.cancellation.isRequested())
            return;
        Findings findings;
        {
            const Progress::Wait wait(m_context.progress, QString::fromLatin1(what));
            findings = check();
        }
        if (m_context.cancellation.isRequested())
            return;
        for (const Finding& finding : qAsConst(findings))
            show(finding);
        m_findings += findings;
    }

    void show(const Finding& finding) const {
        const QString cure = finding.cure.isEmpty() ? QString() : QStringLiteral(". Cure: ") + finding.cure;
        m_context.output.row(stateText(finding.state).leftJustified(stateWidth) + finding.check + QLatin1Char(':'),
                             finding.text + cure, labelWidth);
    }

    Context& m_context;
    const SetUp m_setUp;
    Findings m_findings;
};

} // namespace

ExitCode runDoctor(Context& context) {
    Round round(context);
    round.beforeTheStart();
    Library library(context);
    const ExitCode started = library.start(Library::Need::Nothing);
    if (started != ExitCode::Ok)
        return started;
    round.afterTheStart(library);
    return context.cancellation.isRequested() ? library.fail({}) : round.finish();
}

} // namespace Vqws
