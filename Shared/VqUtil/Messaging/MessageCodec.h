#pragma once

#include <QByteArray>
#include <QString>
#include <QVariantMap>

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

/// False for a value of another type and for maps and lists in each other beyond a depth of 8.
[[nodiscard]] bool encode(const Message& message, QByteArray* bytes);

/// Trusts no count and no length: each is held against the bytes that are left. Every byte must be used.
[[nodiscard]] bool decode(const QByteArray& bytes, Message* message);

} // namespace MessageCodec

} // namespace Velquor::Util
