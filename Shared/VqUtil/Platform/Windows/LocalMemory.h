#pragma once

#include "VqUtil/Platform/Windows/WindowsApi.h"

#include <memory>

namespace Velquor::Util {

/// Frees memory that the system has allocated with `LocalAlloc`.
struct LocalMemoryDeleter {
    void operator()(void* memory) const { ::LocalFree(memory); }
};

template <typename T>
using LocalMemory = std::unique_ptr<T, LocalMemoryDeleter>;

} // namespace Velquor::Util
