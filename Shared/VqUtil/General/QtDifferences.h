#pragma once

#include "VqUtil/General/Result.h"

#include <QByteArray>
#include <QMetaType>
#include <QString>

/// What Qt 5 and Qt 6 do by different means. All conditions of the library on the version of Qt are here and in
/// the source file.
namespace Velquor::Util::QtDifferences {

/// Two variants with this type are equal when its operator says so. Qt 6 finds the operator itself. Thread: any, once.
template <typename Value>
bool registerEquality() {
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    return QMetaType::registerEqualsComparator<Value>();
#else
    return QMetaType::fromType<Value>().isEqualityComparable();
#endif
}

/// The name of the encoding that a byte order mark tells; empty without one. Thread: any.
[[nodiscard]] QByteArray markedEncoding(const QByteArray& bytes);

/// The characters of bytes that are whole and valid in this encoding, without their byte order mark. Thread: any. Errors: a
/// reason.
[[nodiscard]] Result<QString> decoded(const QByteArray& bytes, const QByteArray& encoding);

} // namespace Velquor::Util::QtDifferences
