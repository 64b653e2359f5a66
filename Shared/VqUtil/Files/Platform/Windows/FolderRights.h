#pragma once

#include <string>

namespace Velquor::Util {

/// Removes all rights but the owner's from a folder that the user of this process owns. Each call reads the rights. They are
/// written when another user has rights, and once in a process where the file system stores them in another form.
///
/// Thread: any. Errors: false when the rights could not be read or written.
[[nodiscard]] bool takeRightsOfOthersAway(const std::wstring& path);

/// True when the user of this process owns the folder, and no other user was given rights to it. Rights that it inherits do not
/// count.
[[nodiscard]] bool isFolderOfUserAlone(const std::wstring& path);

} // namespace Velquor::Util
