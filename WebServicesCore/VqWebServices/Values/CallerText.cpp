#include "Values/CallerText.h"

#include "VqLog/LoggerWrapper.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <stdexcept>
#include <string>

namespace Velquor::WebServices::Internal {

namespace {

[[noreturn]] void refuse() {
    throw std::length_error("A text is longer than 1048575 units, or is not Unicode.");
}

template <class Unit>
int lengthOf(const Unit* text) {
    int length = 0;
    while (length < maximumCallerTextLength && text[length] != 0)
        ++length;
    if (length == maximumCallerTextLength)
        refuse();
    return length;
}

void append(QString& text, uint unit) {
    if (unit > QChar::LastValidCodePoint)
        refuse();
    if (QChar::requiresSurrogates(unit))
        text += QChar(QChar::highSurrogate(unit));
    text += QChar(QChar::requiresSurrogates(unit) ? QChar::lowSurrogate(unit) : static_cast<ushort>(unit));
}

// Runs a setter; a text that is refused leaves the old value.
template <class Store>
bool storeOrReport(const char* operation, const Store& store) {
    try {
        store();
        return true;
    } catch (const std::length_error& refusal) {
        Log::rootLogger().error(QStringLiteral("%1 failed. %2").arg(QLatin1String(operation), QLatin1String(refusal.what())));
        return false;
    }
}

} // namespace

// Unit by unit: Qt's conversions of wide text drop a byte order mark, or swap the bytes of all units after a reversed one.
QString textFromCaller(const wchar_t* text) {
    const int length = text ? lengthOf(text) : 0;
    QString taken;
    taken.reserve(length);
    for (int index = 0; index < length; ++index)
        append(taken, static_cast<uint>(text[index]));
    return taken;
}

QByteArray utf8FromCaller(const wchar_t* text) {
    const QString taken = textFromCaller(text);
    if (!taken.isValidUtf16())
        refuse();
    return taken.toUtf8();
}

bool takeText(const char* operation, const wchar_t* text, QString& target) {
    return storeOrReport(operation, [&] { target = textFromCaller(text); });
}

bool takeBytes(const char* operation, const char* text, QByteArray& target) {
    return storeOrReport(operation, [&] { target = text ? QByteArray(text, lengthOf(text)) : QByteArray(); });
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
    const int copied = std::min(static_cast<int>(bytes.size()), size);
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
