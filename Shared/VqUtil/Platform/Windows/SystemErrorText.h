#pragma once

#include <QString>

namespace Velquor::Util {

/// The system's text for an error code of `GetLastError()`; "Error N" when it has none. Thread: any.
[[nodiscard]] QString systemErrorText(unsigned long code);

/// The text for an error code from the message table of a loaded module. When the module is not loaded, the system's text for a
/// missing module. Thread: any.
[[nodiscard]] QString moduleErrorText(unsigned long code, const wchar_t* moduleFileName);

} // namespace Velquor::Util
