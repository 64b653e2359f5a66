#pragma once

#include <QByteArray>
#include <QString>
#include <string>

namespace Velquor::WebServices::Internal {

/// The conventions for texts and buffers of the exported interface, which VqWebServicesGlobal.h describes.
/// Thread: any.

/// The longest text from a caller, in units. A text without a terminator within this length counts as empty.
constexpr int maximumCallerTextLength = 1024 * 1024;

/// The caller's null-terminated text; a null pointer is the empty text.
[[nodiscard]] QString textFromCaller(const wchar_t* text);
[[nodiscard]] QByteArray bytesFromCaller(const char* text);

/// Copies by the rule for text buffers.
int copyText(const QString& text, wchar_t* buffer, int size);

/// Copies by the rule for byte buffers (NetworkCookie.h).
int copyBytes(const QByteArray& bytes, char* buffer, int size);

/// A terminated copy made with `new wchar_t[]`, which the caller of the library frees with `delete[]`.
[[nodiscard]] wchar_t* allocateText(const QString& text);

/// The text in the platform's `wchar_t` units: UTF-16 on Windows, UTF-32 elsewhere.
[[nodiscard]] std::wstring wideText(const QString& text);

} // namespace Velquor::WebServices::Internal
