#pragma once

#include <QString>

namespace Velquor::WebServices::Internal {

/// The only place that decides whose values a log may show. What is not listed here is written as "***", so that a new
/// header or parameter is hidden until somebody has decided otherwise. Thread: any.

/// Whether the value of this header (any case) may be shown.
[[nodiscard]] bool isHeaderShown(const QString& name);

/// Whether the value of this header (any case) is a URL that may be shown in display form.
[[nodiscard]] bool isUrlHeader(const QString& name);

/// Whether the value of this query parameter, form field, JSON member or XML element or attribute may be shown.
[[nodiscard]] bool isFieldShown(const QString& name);

/// What stands in a log for a value that may not be shown.
[[nodiscard]] QString hiddenValue();

/// A text from outside on one line: control characters are written as escapes.
[[nodiscard]] QString oneLine(const QString& text);

} // namespace Velquor::WebServices::Internal
