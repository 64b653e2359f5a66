#include "Cancellation.h"
#include "CommandLine.h"
#include "Commands/Commands.h"
#include "HttpReply.h"
#include "Library.h"
#include "Output.h"
#include "Progress.h"
#include "Texts.h"

#include <QUrl>

using namespace Velquor::WebServices;

namespace Vqws {

namespace {

constexpr int firstError = 300;
constexpr int firstSuccess = 200;

QJsonObject toObject(const HttpReply& reply) {
    QJsonObject object{{QStringLiteral("status"), reply.status},
                       {QStringLiteral("reason"), reply.reason},
                       {QStringLiteral("contentType"), reply.contentType}};
    // What is not UTF-8 does not come back; a byte order mark is dropped.
    const QString text = QString::fromUtf8(reply.body);
    if (reply.body.endsWith(text.toUtf8()))
        object.insert(QStringLiteral("body"), text);
    else
        object.insert(QStringLiteral("bodyBase64"), QString::fromLatin1(reply.body.toBase64()));
    return object;
}

ExitCode show(const Context& context, const Library& library, const HttpReply& reply) {
    if (reply.isTooLarge)
        return library.fail(QStringLiteral("The reply is too large to be shown."));
    if (reply.status == 0)
        return library.fail(QStringLiteral("There is no reply: %1.").arg(reply.error));
    const bool ok = reply.status >= firstSuccess && reply.status < firstError;
    context.output.note(
        QStringLiteral("%1 %2, %3 bytes %4")
            .arg(QString::number(reply.status), reply.reason, QString::number(reply.body.size()), reply.contentType));
    context.output.bytes(reply.body);
    const ExitCode code = ok ? ExitCode::Ok : ExitCode::Failed;
    context.output.object(toObject(reply), code);
    return code;
}

} // namespace

ExitCode runGet(Context& context) {
    const QString url = context.line.arguments().first();
    if (!isWebAddress(url))
        return context.output.fail(ExitCode::Usage, QStringLiteral("\"%1\" is no http or https address.").arg(url));
    Library library(context);
    const ExitCode opened = library.open(Library::Need::User);
    if (opened != ExitCode::Ok)
        return opened;
    // As Qt sends it, which may differ from the given text in its escapes.
    const QString sent = QString::fromLatin1(QUrl(url).toEncoded());
    const QString authorization = library.signedRequest(sent, HttpMethod::Get, ParsingMode::AuthorizationHeader);
    if (authorization.isEmpty())
        return library.fail(QStringLiteral("The library did not sign; the log says why."));
    HttpReply reply;
    {
        const Progress::Wait wait(context.progress, QUrl(url).host());
        reply = httpGet(QUrl(url), authorization, context.cancellation);
    }
    return show(context, library, reply);
}

} // namespace Vqws
