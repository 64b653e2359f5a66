#pragma once

#include <QString>
#include <string>

namespace Velquor::Util {

/// A path in the form of the system's operations: absolute, with backslashes. A long path gets the prefix that lifts the limit of
/// 260 characters. Thread: any.
[[nodiscard]] std::wstring nativePath(const QString& path);

} // namespace Velquor::Util
