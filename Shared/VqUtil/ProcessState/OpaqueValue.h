#pragma once

#include "VqUtil/ProcessState/BoundedReader.h"

#include <QMetaType>

namespace Velquor::Util {

/// A property value that this version does not use, as it is in the block: its type and its bytes. It is written back unchanged.
/// A plain value.
struct OpaqueValue {
    QByteArray bytes;

    [[nodiscard]] bool operator==(const OpaqueValue& other) const { return bytes == other.bytes; }
    /// For dumps.
    [[nodiscard]] QString toString() const { return QString::fromLatin1(bytes.toHex()); }

    enum class ReadResult { Read, Malformed, UnknownLength };
    /// Reads any type of Qt whose length its bytes tell.
    [[nodiscard]] static ReadResult read(BoundedReader& reader, OpaqueValue* value);
};

} // namespace Velquor::Util

Q_DECLARE_METATYPE(Velquor::Util::OpaqueValue)
