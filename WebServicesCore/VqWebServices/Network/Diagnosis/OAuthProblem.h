#pragma once

#include <QString>

class QNetworkReply;

namespace Velquor::WebServices::Internal {

/// The headers in which the server explains a refused request. Plain value; a missing header is empty.
struct OAuthProblem {
    QString problem;
    QString additionalInfo;
    QString parametersAbsent;
    QString reasonPhrase;
};

/// The problem that a reply reports; empty without a reply. Thread: the reply's.
[[nodiscard]] OAuthProblem oauthProblem(const QNetworkReply* reply);

/// The problem as a text that follows an error text directly; empty when the server reported none. Thread: any.
[[nodiscard]] QString oauthProblemText(const OAuthProblem& problem);

} // namespace Velquor::WebServices::Internal
