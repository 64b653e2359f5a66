#include "Network/Diagnosis/OAuthProblem.h"

#include <QNetworkReply>

namespace Velquor::WebServices::Internal {

OAuthProblem oauthProblem(const QNetworkReply* reply) {
    if (!reply)
        return {};
    return {QString::fromUtf8(reply->rawHeader("xoauth_problem")),
            QString::fromUtf8(reply->rawHeader("xoauth_additional_error_info")),
            QString::fromUtf8(reply->rawHeader("xoauth_parameters_absent")),
            QString::fromUtf8(reply->rawHeader("x-vqs-reason-phrase"))};
}

QString oauthProblemText(const OAuthProblem& problem) {
    QString text;
    if (!problem.problem.isEmpty())
        text += QStringLiteral(". OAuth problem: %1").arg(problem.problem);
    if (!problem.additionalInfo.isEmpty())
        text += QStringLiteral(". Additional error info: %1").arg(problem.additionalInfo);
    if (!problem.parametersAbsent.isEmpty())
        text += QStringLiteral(". Parameters absent: %1").arg(problem.parametersAbsent);
    if (!problem.reasonPhrase.isEmpty())
        text += QStringLiteral(". Vqs reason phrase: %1").arg(problem.reasonPhrase);
    return text;
}

} // namespace Velquor::WebServices::Internal
