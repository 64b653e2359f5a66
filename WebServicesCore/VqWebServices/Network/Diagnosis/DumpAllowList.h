#pragma once

#include <QString>

namespace Velquor::WebServices::Internal {

/// The only place that decides which values a log may show. Everything else is written as "***", so a new header or parameter is
/// hidden until it is added here. Thread: any.

/// Whether the value of this header (any case) may be shown.
[[nodiscard]] bool isHeaderShown(const QString& name);

/// Whether the value of this header (any case) is a URL that may be shown in display form.
[[nodiscard]] bool isUrlHeader(const QString& name);

/// Whether the value of this query parameter, form field, JSON member or XML element or attribute may be shown.
[[nodiscard]] bool isFieldShown(const QString& name);

/// The text that replaces a hidden value in a log.
[[nodiscard]] QString hiddenValue();

/// A foreign text on one line: control characters are written as escapes.
[[nodiscard]] QString oneLine(const QString& text);

} // namespace Velquor::WebServices::Internal
