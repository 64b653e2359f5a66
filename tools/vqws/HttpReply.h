#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QSslError>
#include <QString>
#include <QUrl>

namespace Vqws {

class Cancellation;

/// The result of a GET.
struct HttpReply {
    int status = 0; ///< 0: no reply
    QString reason;
    QString contentType;
    QDateTime date; ///< The time of the server's clock, from the header "Date".
    QByteArray body;
    QString error; ///< Why there was no reply.
    bool isTlsError = false;
    QSslError tlsError; ///< The first thing that is wrong with the certificate; NoError when nothing is known.
    bool isTooLarge = false;
};

/// Sends a GET and waits for the end of the reply, or for cancellation. It does not follow redirections, since a signature is
/// valid for one address only. An empty `authorization` sends no such header. Thread: the main thread. Errors: in the result.
[[nodiscard]] HttpReply httpGet(const QUrl& url, const QString& authorization, const Cancellation& cancellation);

/// The time of a server whose certificate is not trusted. Nothing else of the reply is used, and nothing secret is sent.
[[nodiscard]] QDateTime untrustedTime(const QUrl& url, const Cancellation& cancellation);

} // namespace Vqws
