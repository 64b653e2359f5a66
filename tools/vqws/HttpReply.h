#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QMap>
#include <QSslError>
#include <QString>
#include <QUrl>

namespace Vqws {

class Cancellation;

// Statuses of a reply.
namespace Status {
constexpr int success = 200;
constexpr int notModified = 304;
constexpr int badRequest = 400;
constexpr int unauthorized = 401;
constexpr int forbidden = 403;
constexpr int notFound = 404;
constexpr int tooManyRequests = 429;
constexpr int serverError = 500;
} // namespace Status

/// A GET, or with a form a POST of it.
struct HttpRequest {
    QUrl url;
    QByteArray authorization{}; ///< Without one no such header is sent.
    QByteArray form{};
    QByteArray ifModifiedSince{};
    int limitMs = 60000; ///< Of a time in which nothing arrives.
};

/// The result of a request.
struct HttpReply {
    int status = 0; ///< 0: no reply
    QString reason;
    QString contentType;
    QMap<QByteArray, QByteArray> headers; ///< By their names in small letters.
    QDateTime date;                       ///< The time of the server's clock, from the header "Date".
    QByteArray body;
    QString error; ///< Why there was no reply.
    bool wantsProxyLogin = false;
    bool isTlsError = false;
    QSslError tlsError; ///< The first thing that is wrong with the certificate; NoError when nothing is known.
    bool isTooLarge = false;
    bool isCut = false; ///< The connection ended in the middle of the reply.
};

/// Sends a request and waits for the end of the reply, or for cancellation, as httpGet() does. Null: nothing cancels it.
[[nodiscard]] HttpReply httpSend(const HttpRequest& request, const Cancellation* cancellation);

/// Sends a GET and waits for the end of the reply, or for cancellation. It does not follow redirections, since a signature is
/// valid for one address only. An empty `authorization` sends no such header. Thread: the main thread. Errors: in the result.
[[nodiscard]] HttpReply httpGet(const QUrl& url, const QString& authorization, const Cancellation& cancellation);

/// The time of a server whose certificate is not trusted. Nothing else of the reply is used, and nothing secret is sent.
[[nodiscard]] QDateTime untrustedTime(const QUrl& url, const Cancellation& cancellation);

} // namespace Vqws
