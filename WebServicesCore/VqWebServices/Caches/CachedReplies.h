#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <VqWebServices/ServiceEntitlement.h>
#include <optional>

namespace Velquor::WebServices::Internal {

/// The replies of the web services about the user. Plain values with the text that they were read from.
///
/// The parsers take bytes that may be hostile: at most 4 MiB of UTF-8 XML without a document type, bounded in depth and number of
/// elements. Nothing when the reply is anything else, or lacks its main content. Thread: any.

struct UserInfo {
    [[nodiscard]] static std::optional<UserInfo> parse(const QByteArray& reply);

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
    [[nodiscard]] static std::optional<Entitlements> parse(const QByteArray& reply);

    QString text;
    QMap<QString, Service> services; ///< By name; the first of a repeated name counts.

    [[nodiscard]] ServiceEntitlement answerFor(const QString& service) const;
};

struct StorageQuota {
    [[nodiscard]] static std::optional<StorageQuota> parse(const QByteArray& reply);

    QString text;
    qint64 total = 0; ///< Bytes.
    qint64 used = 0;  ///< Bytes.
};

} // namespace Velquor::WebServices::Internal
