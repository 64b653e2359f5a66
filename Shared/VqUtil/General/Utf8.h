#pragma once

#include <QByteArray>
#include <QString>

namespace Velquor::Util {

/// The text of UTF-8 bytes that are a value, and not a file. `QString::fromUtf8` drops U+FEFF at the beginning, because a file
/// may begin with one as its byte order mark; a value that begins with it must not change. Thread: any.
[[nodiscard]] inline QString textFromUtf8(const QByteArray& bytes) {
    const QString text = QString::fromUtf8(bytes);
    return bytes.startsWith("\xef\xbb\xbf") ? QChar(QChar::ByteOrderMark) + text : text;
}

} // namespace Velquor::Util
