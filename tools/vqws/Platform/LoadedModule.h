#pragma once

#include <QString>

namespace Vqws {

/// The full path of the program or library that contains the function at this address. Empty when the system does not know it.
/// Thread: any.
[[nodiscard]] QString modulePathOf(const void* address);

} // namespace Vqws
