#pragma once

#include <QByteArray>
#include <QString>
#include <QVariantMap>
#include <optional>

namespace Velquor::Util {

/// The bytes of a message: a name and its parameters. Values are bool, the integers, double, QString, QByteArray, QDateTime,
/// QStringList, the invalid value, and maps and lists of these.
///
/// Thread: any. Errors: no value. A damaged message is refused as a whole.
namespace MessageCodec {

struct Message {
    QString name;
    QVariantMap params;
};

/// Nothing for a value of another type and for maps and lists that are nested more than 8 deep.
[[nodiscard]] std::optional<QByteArray> encode(const Message& message);

/// Trusts no count and no length: each is checked against the remaining bytes. Bytes after the message are an error.
[[nodiscard]] std::optional<Message> decode(const QByteArray& bytes);

} // namespace MessageCodec

} // namespace Velquor::Util
