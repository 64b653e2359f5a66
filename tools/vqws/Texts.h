#pragma once

#include <QDateTime>
#include <QJsonValue>
#include <QString>
#include <VqWebServices/Server.h>
#include <functional>
#include <memory>
#include <optional>

namespace Vqws {

// Short texts that several commands show. Thread: any.

[[nodiscard]] QString serverText(Velquor::WebServices::Server server);
[[nodiscard]] std::optional<Velquor::WebServices::Server> serverNamed(const QString& name);

/// A date from the library's seconds since 1970, in UTC. Null when the library does not know the date.
[[nodiscard]] QDateTime dateOf(unsigned int seconds);
/// "2026-01-31 12:00:00 UTC (in 59 min)", or "unknown".
[[nodiscard]] QString dateText(const QDateTime& date);
// For JSON: null when it is not known. A date is ISO 8601.

[[nodiscard]] QJsonValue known(const QString& text);
[[nodiscard]] QJsonValue known(const QDateTime& date);
/// "5 s", "12 min", "3 h", "9 days".
[[nodiscard]] QString spanText(qint64 seconds);

/// The part of a consumer key that distinguishes products, as in the library's own dumps.
[[nodiscard]] QString shortKey(const QString& key);

/// The result of an operation that follows the text buffer rule.
[[nodiscard]] QString bufferText(const std::function<int(wchar_t*, int)>& read);
/// Copies and frees a text that the library allocated; empty for null.
[[nodiscard]] QString takeText(wchar_t* text);

/// Whether it is an absolute http or https address.
[[nodiscard]] bool isWebAddress(const QString& text);

/// Breaks the text into lines of at most `width` characters and indents those after the first. Unchanged when `width` is 0.
[[nodiscard]] QString wrapped(const QString& text, int width, int indent);

} // namespace Vqws
