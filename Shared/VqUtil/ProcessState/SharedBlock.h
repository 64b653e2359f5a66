#pragma once

#include "VqUtil/ProcessState/ISharedBlock.h"

#include <memory>

namespace Velquor::Util {

/// The block of a key that the processes of this user share. It is not attached yet. Thread: any.
///
/// Windows: the object that a `QSharedMemory` of the key opens, in the user's session; `folder` is not used. Other programs may
/// access it through Qt, so reading and writing also hold Qt's own lock.
/// Posix: an owner-only file in `folder`, which must exist. The last process that detaches removes it. A file that is left after
/// a crash of all processes counts as missing.
[[nodiscard]] std::unique_ptr<ISharedBlock> openSharedBlock(const QString& key, const QString& folder);

/// The folder of the blocks and their locks. Posix: the user's runtime folder when it is owner-only, else `dataFolder`. Windows:
/// any folder that is the same for all processes, since it only takes part in names.
[[nodiscard]] QString sharedBlockFolder(const QString& dataFolder);

} // namespace Velquor::Util
