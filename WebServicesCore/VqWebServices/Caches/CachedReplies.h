#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <VqWebServices/ServiceEntitlement.h>

namespace Velquor::WebServices::Internal {

/// What the web services say of the user. Plain values with the reply that they were taken from.
///
/// The parsers take bytes that may be hostile: at most 4 MiB of UTF-8 XML without a document type, bounded in depth and number of
/// elements. False when the reply is anything else, or lacks what it is for; the result is unchanged then. Thread: any.

struct UserInfo {
    QString text; ///< The whole reply.
    QString userName;
    QString id;
    QString email;
    QString firstName;
    QString lastName;
};

struct Entitlements {
    struct Service {
        ServiceEntitlement answer = ServiceEntitlement::Unknown;
        QString text; ///< The element of the service.
    };
    QString text;
    QMap<QString, Service> services; ///< By name; the first of a repeated name counts.

    [[nodiscard]] ServiceEntitlement answerFor(const QString& service) const;
};

struct StorageQuota {
    QString text;
    qint64 total = 0; ///< Bytes.
    qint64 used = 0;  ///< Bytes.
};

[[nodiscard]] bool parseReply(const QByteArray& reply, UserInfo& result);
[[nodiscard]] bool parseReply(const QByteArray& reply, Entitlements& result);
[[nodiscard]] bool parseReply(const QByteArray& reply, StorageQuota& result);

} // namespace Velquor::WebServices::Internal
