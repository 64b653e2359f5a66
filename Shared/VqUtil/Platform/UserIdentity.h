#pragma once

#include <QString>
#include <QStringList>

namespace Velquor::Util {

/// The system's name for the user of this process; empty when unknown.
/// Windows: `GetUserNameW` with a buffer of 257 characters. Thread: any.
[[nodiscard]] QString currentUserName();

/// The physical addresses of the network adapters in the system's order: lower-case hexadecimal digits, no separators. Adapters
/// without an address are left out. Empty when the system does not list them. Thread: any.
[[nodiscard]] QStringList adapterAddresses();

} // namespace Velquor::Util
