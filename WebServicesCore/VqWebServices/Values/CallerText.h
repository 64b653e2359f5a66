#pragma once

#include <QByteArray>
#include <QString>
#include <string>

namespace Velquor::WebServices::Internal {

/// The conventions for texts and buffers of the exported interface, which VqWebServicesGlobal.h describes.
/// Thread: any.

/// A text from a caller has less units than this, terminator excluded. A longer one is refused, never shortened.
constexpr int maximumCallerTextLength = 1024 * 1024;

/// The caller's null-terminated text with every unit, also a byte order mark; a null pointer is the empty text. Throws
/// `std::length_error` when the text is too long, or has a unit that no Unicode text has. For operations of the facades:
/// `guarded` makes that their failure result and a log line.
[[nodiscard]] QString textFromCaller(const wchar_t* text);

/// `textFromCaller` in UTF-8. Half a surrogate pair, which UTF-8 cannot express, is refused in the same way.
[[nodiscard]] QByteArray utf8FromCaller(const wchar_t* text);

/** @{ */
/// Stores the caller's text, for setters. A text that `textFromCaller` refuses changes nothing: false and one log line.
bool takeText(const char* operation, const wchar_t* text, QString& target);
bool takeBytes(const char* operation, const char* text, QByteArray& target);
/** @} */

/// Copies by the rule for text buffers.
int copyText(const QString& text, wchar_t* buffer, int size);

/// Copies by the rule for byte buffers (NetworkCookie.h).
int copyBytes(const QByteArray& bytes, char* buffer, int size);

/// A terminated copy made with `new wchar_t[]`, which the caller of the library frees with `delete[]`.
[[nodiscard]] wchar_t* allocateText(const QString& text);

/// The text in the platform's `wchar_t` units: UTF-16 on Windows, UTF-32 elsewhere.
[[nodiscard]] std::wstring wideText(const QString& text);

} // namespace Velquor::WebServices::Internal
