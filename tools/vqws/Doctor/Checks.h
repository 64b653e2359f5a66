#pragma once

#include "Doctor/Finding.h"
#include "Doctor/SetUp.h"

#include <VqWebServices/Server.h>

namespace Vqws {

class Cancellation;
class Library;

// One function for each check. None of them changes anything. Thread: the main thread.

// Before the library is started.

/// The data folder: it exists, belongs to the user with all that is in it, is writable, and only the user has access.
[[nodiscard]] Findings checkFolder(const SetUp& setUp);
/// The settings of the library, when it does not read them.
[[nodiscard]] Findings checkSettings();
/// The login state file: it is readable and complete, only the user has access, and its key exists. Also finds files that a
/// crash left next to it.
[[nodiscard]] Findings checkStateFile(const SetUp& setUp);
/// The login state file has a login that has not expired.
[[nodiscard]] bool hasLogin(const SetUp& setUp);
/// The lock of the login state file: no process holds it for long.
[[nodiscard]] Findings checkLock(const SetUp& setUp, Cancellation& cancellation);

// After the library is started.

[[nodiscard]] Findings checkLog();
[[nodiscard]] Findings checkUrlFiles(const SetUp& setUp, Velquor::WebServices::Server current);
[[nodiscard]] Findings checkTls();
[[nodiscard]] Findings checkProxy(const SetUp& setUp, const Cancellation& cancellation);
/// The account server, and the clock of this machine compared with the server's clock.
[[nodiscard]] Findings checkServer(const Cancellation& cancellation);
[[nodiscard]] Findings checkBlock(const SetUp& setUp);

// After a product was registered.

/// What to say when the file had a login and the library has none after it read the file.
[[nodiscard]] Findings discardedLogin(const SetUp& setUp);

/// Whether the account server accepts the product: its key and secret while nobody is signed in, else its token.
[[nodiscard]] Findings checkProduct(const Library& library, const SetUp& setUp, const Cancellation& cancellation);
/// For a run without the key and the secret of a product.
[[nodiscard]] Findings checkKeysOfRun(const Library& library);

} // namespace Vqws
