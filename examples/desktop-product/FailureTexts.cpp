#include "FailureTexts.h"

#include <QCoreApplication>

using Velquor::WebServices::LoginErrorEx;

namespace {

struct Words {
    Q_DECLARE_TR_FUNCTIONS(FailureTexts)
};

QString withDraft(const QString& whatToDo, bool hasDraft) {
    return hasDraft ? Words::tr("%1 Your unsaved note comes back then.").arg(whatToDo) : whatToDo;
}

} // namespace

namespace FailureTexts {

Failure libraryDidNotStart() {
    return {Words::tr("The web services could not be started."),
            Words::tr("Check that WebServices.logconfig is next to the library, then start this program again.")};
}

Failure notConfigured() {
    return {Words::tr("This product is not set up for the web services."),
            Words::tr("Start it with its consumer key and secret (--key, --secret).")};
}

Failure noSignInPage(LoginErrorEx error, int httpStatus) {
    switch (error) {
    case LoginErrorEx::NotReady:
        return {Words::tr("The web services are not ready for a sign-in."),
                Words::tr("Check the folder given with --support: it must hold the URL file of the server.")};
    case LoginErrorEx::NoReply:
        return {Words::tr("The account service could not be reached."),
                Words::tr("Check the network connection and the proxy (Settings), then sign in again.")};
    case LoginErrorEx::NoSecureConnection:
        return {
            Words::tr("No secure connection to the account service could be made."),
            Words::tr(
                "If this network has a sign-in page, open any web page in your browser and sign in there first. Otherwise name the authority of the service with --ca.")};
    case LoginErrorEx::WrongSystemTime:
        return {Words::tr("The clock of this computer is wrong."),
                Words::tr("Set date, time and time zone, then sign in again.")};
    case LoginErrorEx::Refused:
        return {Words::tr("The account service refused to begin a sign-in (status %1).").arg(httpStatus),
                Words::tr("Try again in a minute. If it stays so, this product's consumer key may not be known there.")};
    case LoginErrorEx::InvalidReply:
        return {
            Words::tr("The account service gave an answer that makes no sense."),
            Words::tr(
                "Something else may answer in its place, such as the sign-in page of a hotel network. Open any web page in your browser, sign in to the network there, then sign in here again.")};
    default: break;
    }
    return {Words::tr("The sign-in could not be begun."), Words::tr("The log says why. Sign in again after that.")};
}

Failure noBrowser() {
    return {Words::tr("No web browser could be opened."),
            Words::tr("Set a standard browser for this computer, then choose Open page again.")};
}

Failure signInNotCompleted() {
    return {
        Words::tr("You are not signed in yet."),
        Words::tr(
            "Finish the page in the browser until it says that you are signed in, then choose Continue. If the page was closed or "
            "is too old, cancel and sign in again.")};
}

Failure notSignedOut() {
    return {Words::tr("You could not be signed out."),
            Words::tr("Another part of this product may still need the sign-in. Try again when its work is done.")};
}

Failure notRenewed(const QString& token) {
    return {Words::tr("The %1 could not be renewed.").arg(token),
            Words::tr("The present one stays in use until it expires. Check the network connection, then try again.")};
}

Failure serverNotChanged(const QString& server) {
    return {Words::tr("The server was not changed to %1.").arg(server),
            Words::tr("Check that its URL file is in the folder given with --support. The server before is still in use.")};
}

Failure proxyIncomplete() {
    return {Words::tr("The proxy needs a host, a port and a user."), Words::tr("Fill in what is missing, then store it again.")};
}

Failure proxyNotStored() {
    return {Words::tr("The proxy could not be stored."),
            Words::tr("Check that the disk is not full and that you may write to your data folder.")};
}

Failure proxyNotCleared() {
    return {
        Words::tr("The stored proxy could not be removed."),
        Words::tr("Another product may be writing. Try again; if it stays so, check that you may write to your data folder.")};
}

Failure noteNotSaved() {
    return {Words::tr("The note could not be saved."),
            Words::tr("Copy it to another place. Check that the disk is not full and that you may write to your data folder.")};
}

Failure signInExpired(bool hasDraft) {
    return {Words::tr("Your sign-in has expired."),
            withDraft(Words::tr("Choose Sign in to go on here and in all your other products."), hasDraft), true};
}

Failure signedOutElsewhere(bool hasDraft) {
    return {Words::tr("Another product has ended your sign-in."),
            withDraft(Words::tr("All your products share one sign-in. Choose Sign in to go on."), hasDraft), true};
}

} // namespace FailureTexts
