#pragma once

#include "Network/Diagnosis/ClockDiagnosis.h"
#include "Network/Diagnosis/OAuthProblem.h"

#include <QByteArray>
#include <QList>
#include <QNetworkReply>
#include <QString>
#include <QStringList>

namespace Velquor::WebServices::Internal {

/// All that the floors above need of a finished reply, as a plain value that outlives it and may cross threads.
struct ReplySnapshot {
    bool isNull = true; ///< no reply: the request was not sent
    int status = 0;
    QNetworkReply::NetworkError networkError = QNetworkReply::NoError;
    QList<QNetworkReply::RawHeaderPair> headers;
    QByteArray body;
    QString errorText;   ///< HTTP status and network error
    QString problemText; ///< follows the error text directly; empty when the server reported no problem
    OAuthProblem problem;
    ClockKind clockKind = ClockKind::None;
    QString clockMessage;
    QString sslMessage; ///< set when the SSL libraries are missing
    QStringList dump;   ///< request and reply for the log; no secret in it

    /// The value of a header (any case); empty when the reply has none.
    [[nodiscard]] QByteArray header(const QByteArray& name) const;
};

/// Takes what is to know of a finished reply and reads its body. A null reply gives a null snapshot.
/// Thread: that of the reply.
[[nodiscard]] ReplySnapshot takeSnapshot(QNetworkReply* reply, const QString& verb, const QByteArray& requestBody);

} // namespace Velquor::WebServices::Internal
