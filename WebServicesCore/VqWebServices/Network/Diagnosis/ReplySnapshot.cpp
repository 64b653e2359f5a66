#include "Network/Diagnosis/ReplySnapshot.h"

#include "Network/Diagnosis/NetworkErrorText.h"
#include "Network/Diagnosis/RequestDump.h"
#include "Network/Diagnosis/SslDiagnosis.h"

namespace Velquor::WebServices::Internal {

QByteArray ReplySnapshot::header(const QByteArray& name) const {
    for (const QNetworkReply::RawHeaderPair& pair : headers) {
        if (pair.first.compare(name, Qt::CaseInsensitive) == 0)
            return pair.second;
    }
    return {};
}

ReplySnapshot takeSnapshot(QNetworkReply* reply, const QString& verb, const QByteArray& requestBody) {
    ReplySnapshot snapshot;
    if (!reply)
        return snapshot;
    snapshot.isNull = false;
    snapshot.status = httpStatus(*reply);
    snapshot.networkError = reply->error();
    snapshot.headers = reply->rawHeaderPairs();
    // An aborted reply is closed; reading it would only cause a warning of the framework.
    snapshot.body = reply->isOpen() ? reply->readAll() : QByteArray();
    snapshot.errorText = fullErrorText(reply);
    snapshot.problem = oauthProblem(reply);
    snapshot.problemText = oauthProblemText(snapshot.problem);
    if (const std::optional<ClockProblem> problem = diagnoseClock(reply)) {
        snapshot.clockKind = problem->kind;
        snapshot.clockMessage = problem->message;
    }
    snapshot.sslMessage = sslDiagnosis(reply);
    snapshot.dump = requestDump(reply, requestBody, snapshot.body, verb);
    return snapshot;
}

} // namespace Velquor::WebServices::Internal
