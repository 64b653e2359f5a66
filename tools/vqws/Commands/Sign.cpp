#include "CommandLine.h"
#include "Commands/Commands.h"
#include "Library.h"
#include "Output.h"
#include "Progress.h"
#include "Texts.h"

#include <QUrl>
#include <array>

using namespace Velquor::WebServices;

namespace Vqws {

namespace {

constexpr std::array<const char*, 20> methodNames{
    "GET",  "POST",   "PUT",     "DELETE",   "HEAD",         "OPTIONS", "TRACE",  "PROPFIND",  "MOVE",   "COPY",
    "LOCK", "UNLOCK", "CHECKIN", "CHECKOUT", "CANCELUPLOAD", "REPORT",  "UPDATE", "PROPPATCH", "GETLIB", "VERSION-CONTROL"};

// The names are in the order of the numbers of HttpMethod.
int methodNumber(const QString& name) {
    for (size_t number = 0; number < methodNames.size(); ++number) {
        if (name.compare(QLatin1String(methodNames.at(number)), Qt::CaseInsensitive) == 0)
            return static_cast<int>(number);
    }
    return -1;
}

} // namespace

ExitCode runSign(Context& context) {
    const QString method =
        context.line.isSet(QStringLiteral("method")) ? context.line.value(QStringLiteral("method")) : QStringLiteral("GET");
    if (methodNumber(method) < 0)
        return context.output.fail(ExitCode::Usage, QStringLiteral("\"%1\" is no method that can be signed.").arg(method));
    const QString url = context.line.arguments().first();
    if (!isWebAddress(url))
        return context.output.fail(ExitCode::Usage, QStringLiteral("\"%1\" is no http or https address.").arg(url));
    Library library(context);
    const ExitCode opened = library.open(Library::Need::User);
    if (opened != ExitCode::Ok)
        return opened;
    const bool asHeader = context.line.isSet(QStringLiteral("header"));
    const QString text = library.signedRequest(url, static_cast<HttpMethod>(methodNumber(method)),
                                               asHeader ? ParsingMode::AuthorizationHeader : ParsingMode::SignedUrl);
    if (text.isEmpty())
        return library.fail(QStringLiteral("The library did not sign; the log says why."));
    context.output.line(text);
    context.output.object({{asHeader ? QStringLiteral("authorization") : QStringLiteral("url"), text}});
    return ExitCode::Ok;
}

} // namespace Vqws
