#pragma once

#include <QString>

namespace Velquor::WebServices::Internal {

/// The text of an HTTP status code: "Unknown" for a code without one, empty for 0 (no answer). Thread: any.
[[nodiscard]] QString httpStatusText(int code);

} // namespace Velquor::WebServices::Internal
