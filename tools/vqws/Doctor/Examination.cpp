#include "Doctor/Examination.h"

#include "Cancellation.h"
#include "CommandLine.h"
#include "Commands/Commands.h"
#include "Doctor/Checks.h"
#include "Library.h"
#include "Progress.h"

#include <algorithm>
#include <utility>

namespace Vqws {

Examination::Examination(Context& context, Show show)
    : m_context(context)
    , m_show(std::move(show))
    , m_setUp(readSetUp(context.line)) {}

void Examination::beforeTheStart() {
    add("the data folder", [this] { return checkFolder(m_setUp); });
    add("the settings", [] { return checkSettings(); });
    add("the login state file", [this] { return checkStateFile(m_setUp); });
    add("the lock of the login state file", [this] { return checkLock(m_setUp, m_context.cancellation); });
}

void Examination::afterTheStart(const Library& library) {
    add("the log", [] { return checkLog(); });
    add("the URL files", [&] { return checkUrlFiles(m_setUp, library.manager().GetServer()); });
    add("the TLS library", [] { return checkTls(); });
    add("the proxy", [this] { return checkProxy(m_setUp, m_context.cancellation); });
    add("the account server", [this] { return checkServer(m_context.cancellation); });
    add("the shared block", [this] { return checkBlock(m_setUp); });
}

ExitCode Examination::startAndExamine(Library& library) {
    beforeTheStart();
    const bool hadLogin = hasLogin(m_setUp);
    const ExitCode started = library.start(Library::Need::Nothing);
    if (started != ExitCode::Ok)
        return started;
    afterTheStart(library);
    if (!library.hasProduct())
        add(checkKeysOfRun(library));
    return library.hasProduct() && !firstFault() ? examineProduct(library, hadLogin) : ExitCode::Ok;
}

ExitCode Examination::examineProduct(Library& library, bool hadLogin) {
    const ExitCode signedOn = library.signOn(Library::Need::Nothing);
    if (signedOn == ExitCode::Ok && hadLogin && !library.manager().IsLoggedIn())
        add(discardedLogin(m_setUp));
    // Its calls of the library show what they wait for.
    else if (signedOn == ExitCode::Ok)
        add(checkProduct(library, m_setUp, m_context.cancellation));
    return signedOn;
}

const Finding* Examination::firstFault() const {
    const auto found = std::find_if(m_findings.begin(), m_findings.end(),
                                    [](const Finding& finding) { return finding.state == Finding::State::Fault; });
    return found == m_findings.end() ? nullptr : &*found;
}

void Examination::add(const char* what, const std::function<Findings()>& check) {
    if (m_context.cancellation.isRequested())
        return;
    Findings found;
    {
        const Progress::Wait wait(m_context.progress, QString::fromLatin1(what));
        found = check();
    }
    add(found);
}

void Examination::add(const Findings& found) {
    if (m_context.cancellation.isRequested())
        return;
    if (m_show) {
        for (const Finding& finding : found)
            m_show(finding);
    }
    m_findings += found;
}

} // namespace Vqws
