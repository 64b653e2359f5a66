#pragma once

#include <QString>
#include <VqWebServices/LoginError.h>

/// A failure in words for the user: what happened, and what to do about it.
struct Failure {
    QString whatHappened;
    QString whatToDo;
    /// Nothing failed: something happened that the user must know.
    bool isInformation = false;

    [[nodiscard]] bool isFailure() const { return !whatHappened.isEmpty(); }
};

namespace FailureTexts {

[[nodiscard]] Failure libraryDidNotStart();
[[nodiscard]] Failure notConfigured();
[[nodiscard]] Failure noSignInPage(Velquor::WebServices::LoginErrorEx error, int httpStatus);
[[nodiscard]] Failure noBrowser();
[[nodiscard]] Failure signInNotCompleted();
[[nodiscard]] Failure notSignedOut();
[[nodiscard]] Failure notRenewed(const QString& token);
[[nodiscard]] Failure serverNotChanged(const QString& server);
[[nodiscard]] Failure proxyIncomplete();
[[nodiscard]] Failure proxyNotStored();
[[nodiscard]] Failure proxyNotCleared();
[[nodiscard]] Failure noteNotSaved();
[[nodiscard]] Failure signInExpired(bool hasDraft);
[[nodiscard]] Failure signedOutElsewhere(bool hasDraft);

} // namespace FailureTexts
