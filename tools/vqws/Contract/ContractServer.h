#pragma once

#include "ClientKeys.h"
#include "Contract/OAuthSignature.h"
#include "Contract/ReplyReading.h"

#include <QJsonObject>
#include <QStringList>

namespace Vqws {

class Cancellation;

/// The account server of a URL file: its addresses, and exchanges with it, which are made without the library and leave nothing
/// on this machine.
///
/// Thread: the main thread. Owner: the command. Errors: in the replies.
class ContractServer {
public:
    ContractServer(QJsonObject urls, const ClientKeys& keys, const Cancellation& cancellation);

    /// From now on nothing cancels an exchange, but each has a short limit.
    void beginCleanUp();

    [[nodiscard]] QString text(const QString& key) const { return m_urls.value(key).toString(); }
    /// Empty when one of the two is missing.
    [[nodiscard]] QString endPointText(const char* service, const char* path) const;
    [[nodiscard]] QUrl endPoint(const char* service, const char* path) const;

    /// The product's key alone.
    [[nodiscard]] const OAuthKeys& product() const { return m_product; }
    /// With the token of a reply.
    [[nodiscard]] OAuthKeys keysOf(const FormValues& reply) const;
    /// With a new nonce and the time of the server.
    [[nodiscard]] OAuthStamp stamp(const QByteArray& sessionHandle = {}) const;
    [[nodiscard]] qint64 serverSeconds() const;

    HttpReply get(const QUrl& url, const OAuthKeys& keys, const OAuthStamp& stamp, const QByteArray& ifModifiedSince = {});
    HttpReply get(const QUrl& url);
    HttpReply post(const QUrl& url, const QByteArray& form);

    /// Takes the time of the server from the header "Date".
    void setClock();

    // What the replies had in common so far.

    [[nodiscard]] const QStringList& withoutDate() const { return m_withoutDate; }
    [[nodiscard]] const QStringList& withoutReason() const { return m_withoutReason; }
    [[nodiscard]] qint64 slowestMs() const { return m_slowestMs; }

private:
    HttpReply send(HttpRequest request);
    void note(const QUrl& url, const HttpReply& reply, qint64 tookMs);

    const QJsonObject m_urls;
    const OAuthKeys m_product;
    const Cancellation* m_cancellation;
    qint64 m_offsetSeconds = 0;
    QStringList m_withoutDate;
    QStringList m_withoutReason;
    qint64 m_slowestMs = 0;
};

} // namespace Vqws
