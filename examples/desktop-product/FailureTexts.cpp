#include "FailureTexts.h"

#include <QCoreApplication>

using Velquor::WebServices::LoginErrorEx;

namespace {

QString words(const char* text) {
    return QCoreApplication::translate("FailureTexts", text);
}

Failure failure(const char* whatHappened, const char* whatToDo) {
    return {words(whatHappened), words(whatToDo)};
}

} // namespace

namespace FailureTexts {

Failure libraryDidNotStart() {
    return failure("The web services could not be started.",
                   "Check that WebServices.logconfig is next to the library, then start this program again.");
}

Failure notConfigured() {
    return failure("This product is not set up for the web services.",
                   "Start it with its consumer key and secret (--key, --secret).");
}

Failure noSignInPage(LoginErrorEx error, int httpStatus) {
    switch (error) {
    case LoginErrorEx::NotReady:
        return failure("The web services are not ready for a sign-in.",
                       "Check the folder given with --support: it must hold the URL file of the server.");
    case LoginErrorEx::NoReply:
        return failure("The account service could not be reached.",
                       "Check the network connection and the proxy (Settings), then sign in again.");
    case LoginErrorEx::NoSecureConnection:
        return failure("No secure connection to the account service could be made.",
                       "Its certificate is not trusted here. Name its authority with --ca, or ask who runs the network.");
    case LoginErrorEx::WrongSystemTime:
        return failure("The clock of this computer is wrong.", "Set date, time and time zone, then sign in again.");
    case LoginErrorEx::Refused:
        return {words("The account service refused to begin a sign-in (status %1).").arg(httpStatus),
                words("Try again in a minute. If it stays so, this product's consumer key may not be known there.")};
    case LoginErrorEx::InvalidReply:
        return failure(
            "The account service gave an answer that makes no sense.",
            "Something between here and the service may answer in its place, such as a sign-in page of a hotel network.");
    default: break;
    }
    return failure("The sign-in could not be begun.", "The log says why. Sign in again after that.");
}

Failure noBrowser() {
    return failure("No web browser could be opened.", "Set a standard browser for this computer, then choose Open page again.");
}

Failure signInNotCompleted() {
    return failure(
        "You are not signed in yet.",
        "Finish the page in the browser until it says that you are signed in, then choose Continue. If the page was closed or "
        "is too old, cancel and sign in again.");
}

Failure notSignedOut() {
    return failure("You could not be signed out.",
                   "Another part of this product may still need the sign-in. Try again when its work is done.");
}

Failure notRenewed(const QString& token) {
    return {words("The %1 could not be renewed.").arg(token),
            words("The present one stays in use until it expires. Check the network connection, then try again.")};
}

Failure serverNotChanged(const QString& server) {
    return {words("The server was not changed to %1.").arg(server),
            words("Check that its URL file is in the folder given with --support. The server before is still in use.")};
}

Failure proxyIncomplete() {
    return failure("The proxy needs a host, a port and a user.", "Fill in what is missing, then store it again.");
}

Failure proxyNotStored() {
    return failure("The proxy could not be stored.",
                   "Check that the disk is not full and that you may write to your data folder.");
}

Failure proxyNotCleared() {
    return failure("The stored proxy could not be removed.",
                   "Another product may be writing. Try again; if it stays so, check that you may write to your data folder.");
}

} // namespace FailureTexts
