#include "Values/CallerText.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <string>

namespace Velquor::WebServices::Internal {

QString textFromCaller(const wchar_t* text) {
    if (!text)
        return {};
    int length = 0;
    while (length < maximumCallerTextLength && text[length] != 0)
        ++length;
    return length < maximumCallerTextLength ? QString::fromWCharArray(text, length) : QString();
}

QByteArray bytesFromCaller(const char* text) {
    if (!text)
        return {};
    int length = 0;
    while (length < maximumCallerTextLength && text[length] != 0)
        ++length;
    return length < maximumCallerTextLength ? QByteArray(text, length) : QByteArray();
}

std::wstring wideText(const QString& text) {
    return text.toStdWString();
}

int copyText(const QString& text, wchar_t* buffer, int size) {
    if (buffer && size < 1)
        return 0;
    const std::wstring wide = wideText(text);
    const int length = static_cast<int>(wide.size());
    if (!buffer)
        return length;
    const int copied = std::min(length, size - 1);
    std::wmemcpy(buffer, wide.data(), static_cast<size_t>(copied));
    buffer[copied] = 0;
    return copied;
}

int copyBytes(const QByteArray& bytes, char* buffer, int size) {
    if (!buffer)
        return bytes.size();
    if (size < 1)
        return 0;
    buffer[0] = 0;
    const int copied = std::min(bytes.size(), size);
    std::memcpy(buffer, bytes.constData(), static_cast<size_t>(copied));
    if (copied < size)
        buffer[copied] = 0;
    return copied;
}

wchar_t* allocateText(const QString& text) {
    const std::wstring wide = wideText(text);
    auto* const copy = new wchar_t[wide.size() + 1];
    std::wmemcpy(copy, wide.c_str(), wide.size() + 1);
    return copy;
}

} // namespace Velquor::WebServices::Internal
