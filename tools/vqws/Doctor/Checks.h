#pragma once

#include "Doctor/Finding.h"
#include "Doctor/SetUp.h"

#include <VqWebServices/Server.h>

namespace Vqws {

class Cancellation;

// One function for each check. None of them changes anything. Thread: the main thread.

// Before the library is started.

/// The data folder: there, writable, the user's alone.
[[nodiscard]] Findings checkFolder(const SetUp& setUp);
/// The login state file: readable, whole, the user's alone, its key there; and what a crash left beside it.
[[nodiscard]] Findings checkStateFile(const SetUp& setUp);
/// The lock of the login state file: nobody sits on it.
[[nodiscard]] Findings checkLock(const SetUp& setUp, Cancellation& cancellation);

// With the library started.

[[nodiscard]] Findings checkLog();
[[nodiscard]] Findings checkUrlFiles(const SetUp& setUp, Velquor::WebServices::Server current);
[[nodiscard]] Findings checkTls();
[[nodiscard]] Findings checkProxy();
/// The account server and, by its clock, the clock of this machine.
[[nodiscard]] Findings checkServer(const Cancellation& cancellation);
[[nodiscard]] Findings checkBlock(const SetUp& setUp);

} // namespace Vqws
