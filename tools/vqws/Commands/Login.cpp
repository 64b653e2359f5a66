#include "Cancellation.h"
#include "CommandLine.h"
#include "Commands/Commands.h"
#include "Doctor/Examination.h"
#include "HttpReply.h"
#include "Library.h"
#include "Output.h"
#include "Progress.h"
#include "SignInPage.h"
#include "Texts.h"

#include <array>

using namespace Velquor::WebServices;

namespace Vqws {

namespace {

constexpr int urlSize = 8192;
constexpr int defaultTimeoutSeconds = 300;
// Until the user has signed in on the page, the service refuses. This is the interval between the queries.
constexpr int askEveryMs = 2000;

// Only an answer that is about the request says something about the key. With 404 the service does not know the path.
QString refusalText(int httpStatus) {
    const QString refused = QStringLiteral("the account server refused it with status %1; ").arg(httpStatus);
    if (httpStatus == Status::tooManyRequests || httpStatus >= Status::serverError)
        return refused + QStringLiteral("try again later");
    return refused
           + (httpStatus == Status::notFound ? QStringLiteral("check the URL file") : QStringLiteral("check key and secret"));
}

QString errorText(LoginErrorEx error, int httpStatus) {
    switch (error) {
    case LoginErrorEx::NotReady: return QStringLiteral("the product has no configuration for the current server");
    case LoginErrorEx::NoReply: return QStringLiteral("the account server does not answer; check network and proxy");
    case LoginErrorEx::NoSecureConnection:
        return QStringLiteral("there is no secure connection; check the certificate authority (--ca)");
    case LoginErrorEx::WrongSystemTime: return QStringLiteral("the clock of this machine is wrong; set it");
    case LoginErrorEx::Refused: return refusalText(httpStatus);
    case LoginErrorEx::InvalidReply: return QStringLiteral("the account server answered something else; check the URL file");
    default: return QStringLiteral("the request could not be signed; see the log");
    }
}

ExitCode succeed(const Context& context, const Library& library, const char* how) {
    context.output.line(QString::fromLatin1(how).arg(library.userName()));
    context.output.object(
        {{QStringLiteral("user"), known(library.userName())}, {QStringLiteral("userId"), known(library.userId())}});
    return ExitCode::Ok;
}

ExitCode waitForPage(Context& context, Library& library) {
    const Progress::Wait wait(context.progress, QStringLiteral("the sign-in in the browser"));
    while (context.cancellation.wait(askEveryMs)) {
        if (library.manager().IsLoggedIn() || library.manager().CompleteLogin())
            return ExitCode::Ok;
    }
    return ExitCode::Cancelled;
}

ExitCode changeServer(Context& context, Library& library) {
    const Server wanted = context.line.server().value_or(library.manager().GetServer());
    if (wanted == library.manager().GetServer())
        return ExitCode::Ok;
    const Progress::Wait wait(context.progress, QStringLiteral("the change of the server"));
    return library.manager().SetServer(wanted)
               ? ExitCode::Ok
               : library.fail(
                   QStringLiteral("The server could not be changed to %1: its URL file is missing, or the user could not be "
                                  "signed out of the other one.")
                       .arg(serverText(wanted)));
}

// The first fault of the set-up explains the failure better than what the sign-in could see of it.
ExitCode failWithCure(Context& context, const Library& library, const QString& failure) {
    Examination examination(context);
    examination.beforeTheStart();
    examination.afterTheStart(library);
    const Finding* const fault = examination.firstFault();
    const QString reason = fault ? textWithCure(*fault) : failure;
    return library.fail(QStringLiteral("The sign-in could not be started: %1.").arg(reason));
}

} // namespace

ExitCode runLogin(Context& context) {
    context.cancellation.setDefaultTimeout(defaultTimeoutSeconds);
    Library library(context);
    ExitCode code = library.open(Library::Need::Product);
    if (code == ExitCode::Ok)
        code = changeServer(context, library);
    if (code != ExitCode::Ok)
        return code;
    if (library.manager().IsLoginValid())
        return succeed(context, library, "Signed in already as %1.");
    std::array<wchar_t, urlSize> url{};
    LoginErrorEx error = LoginErrorEx::None;
    int httpStatus = 0;
    QString failure;
    {
        const Progress::Wait wait(context.progress, QStringLiteral("the account server"));
        if (!library.manager().InitiateLogin(nullptr, url.data(), urlSize, error, httpStatus))
            failure = errorText(error, httpStatus);
    }
    if (!failure.isEmpty())
        return failWithCure(context, library, failure);
    showSignInPage(context, QString::fromWCharArray(url.data()));
    if (waitForPage(context, library) != ExitCode::Ok)
        return library.fail({});
    return succeed(context, library, "Signed in as %1.");
}

} // namespace Vqws
