#pragma once

#include <QByteArray>
#include <QString>
#include <QVariantMap>
#include <optional>

namespace Velquor::Util {

/// The bytes of a message: a name and its parameters. Values are bool, the integers, double, QString, QByteArray, QDateTime,
/// QStringList, the invalid value, and maps and lists of these.
///
/// Thread: any. Errors: false; nothing of a message that is not whole is used.
namespace MessageCodec {

struct Message {
    QString name;
    QVariantMap params;
};

/// Nothing for a value of another type and for maps and lists that are nested more than 8 deep.
[[nodiscard]] std::optional<QByteArray> encode(const Message& message);

/// Trusts no count and no length: each is held against the bytes that are left. Every byte must be used.
[[nodiscard]] std::optional<Message> decode(const QByteArray& bytes);

} // namespace MessageCodec

} // namespace Velquor::Util
