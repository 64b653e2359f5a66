#pragma once

#include "Network/Diagnosis/ClockDiagnosis.h"
#include "Network/Diagnosis/OAuthProblem.h"

#include <QByteArray>
#include <QList>
#include <QNetworkReply>
#include <QString>
#include <QStringList>

namespace Velquor::WebServices::Internal {

/// The content of a finished reply for the layers above: a plain value that outlives the reply and may be passed between threads.
struct ReplySnapshot {
    bool isNull = true; ///< without a reply: the request was not sent
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

/// Takes the snapshot of a finished reply and reads its body. A null reply gives a null snapshot. Thread: the reply's.
[[nodiscard]] ReplySnapshot takeSnapshot(QNetworkReply* reply, const QString& verb, const QByteArray& requestBody);

} // namespace Velquor::WebServices::Internal
