#pragma once

#include <QString>

namespace Vqws {

/// The full path of the program or library that the function at this address belongs to; empty when the system does not say.
/// Thread: any.
[[nodiscard]] QString modulePathOf(const void* address);

} // namespace Vqws
