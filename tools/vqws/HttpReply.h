#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QUrl>

namespace Vqws {

class Cancellation;

/// What came of a GET.
struct HttpReply {
    int status = 0; ///< 0: no reply
    QString reason;
    QString contentType;
    QDateTime date; ///< what the server's clock said, as the header "Date" tells
    QByteArray body;
    QString error; ///< why there was no reply
    bool isTlsError = false;
    bool isTooLarge = false;
};

/// Sends a GET and waits for the end of the reply, or until it is cancelled. Redirections are not followed: a signature is good
/// for one address. An empty `authorization` sends none. Thread: the main thread. Errors: in the result.
[[nodiscard]] HttpReply httpGet(const QUrl& url, const QString& authorization, const Cancellation& cancellation);

} // namespace Vqws
