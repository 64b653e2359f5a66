#pragma once

#include <QString>
#include <string>

namespace Velquor::Util {

/// A path as the system's own operations take it: absolute, with backslashes, and beyond 260 characters in the form that has no
/// such limit. Thread: any.
[[nodiscard]] std::wstring nativePath(const QString& path);

} // namespace Velquor::Util
