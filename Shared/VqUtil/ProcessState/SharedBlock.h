#pragma once

#include "VqUtil/ProcessState/ISharedBlock.h"

#include <memory>

namespace Velquor::Util {

/// The block of a key that the processes of this user share. Not attached yet. Thread: any.
///
/// Windows: the object that a `QSharedMemory` of the key opens, in the user's session; `folder` is not used. Other programs may
/// know it through Qt only, so reading and writing hold Qt's own lock of it as well.
/// Posix: an owner-only file in `folder`, which exists; it goes with the last process that has it, and what a crash of all
/// leaves behind counts as not there.
[[nodiscard]] std::unique_ptr<ISharedBlock> openSharedBlock(const QString& key, const QString& folder);

/// Where blocks and their locks lie. Posix: the user's runtime folder when there is one that is the user's alone, else
/// `dataFolder`. Windows: a folder that is the same for all processes, since nothing lies in it.
[[nodiscard]] QString sharedBlockFolder(const QString& dataFolder);

} // namespace Velquor::Util
