#include "SignInPage.h"

#include "CommandLine.h"
#include "Commands/Commands.h"
#include "Output.h"
#include "Platform/Browser.h"
#include "Platform/Console.h"

namespace Vqws {

// The user needs the address now. So it is shown even with `--quiet`, and never among the lines of JSON.
void showSignInPage(const Context& context, const QString& url) {
    if (!context.line.isSet(QStringLiteral("no-browser")) && openInBrowser(url)) {
        context.output.note(QStringLiteral("The sign-in page was opened in the browser."));
        return;
    }
    context.output.note(QStringLiteral("Sign in on the page at this address:"));
    context.output.line(url);
    if (context.output.isJson())
        Console::write(Console::Stream::Error, url.toUtf8() + '\n');
}

} // namespace Vqws
