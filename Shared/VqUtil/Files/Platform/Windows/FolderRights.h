#pragma once

#include <string>

namespace Velquor::Util {

/// Leaves the rights of a folder to its owner alone, when that is the user of this process. Each call reads the rights; they are
/// written when others than the owner's are found, and once in a process where the file system keeps them in another form.
///
/// Thread: any. Errors: false when the rights could not be read or written.
[[nodiscard]] bool takeRightsOfOthersAway(const std::wstring& path);

} // namespace Velquor::Util
