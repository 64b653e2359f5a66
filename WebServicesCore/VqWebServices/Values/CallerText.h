#pragma once

#include <QByteArray>
#include <QString>
#include <string>

namespace Velquor::WebServices::Internal {

/// The calling conventions at the exported boundary, as plain functions (the rules stand in VqWebServicesGlobal.h).
/// Thread: any.

/// The longest text that is taken from a caller, in units; what has no terminator within it counts as empty.
constexpr int maximumCallerTextLength = 1024 * 1024;

/// The caller's null-terminated text; a null pointer is the empty text.
[[nodiscard]] QString textFromCaller(const wchar_t* text);
[[nodiscard]] QByteArray bytesFromCaller(const char* text);

/// Text buffer rule.
int copyText(const QString& text, wchar_t* buffer, int size);

/// Byte buffer rule (NetworkCookie.h).
int copyBytes(const QByteArray& bytes, char* buffer, int size);

/// A terminated copy made with `new wchar_t[]`, which the caller of the library frees with `delete[]`.
[[nodiscard]] wchar_t* allocateText(const QString& text);

/// The text in the platform's `wchar_t` units: UTF-16 on Windows, UTF-32 elsewhere.
[[nodiscard]] std::wstring wideText(const QString& text);

} // namespace Velquor::WebServices::Internal
