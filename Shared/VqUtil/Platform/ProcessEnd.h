#pragma once

namespace Velquor::Util {

/// The end of the process, for a library that has threads of its own. Thread: any.

/// Has `work` called when the process ends by a return from main or by `exit`, before any static object that exists now is
/// destroyed. It runs on the thread that ends the process, and not in a forked child. From now on the library stays loaded.
/// On Windows it is called when `exit` is the one of a shared C runtime, which most hosts have. `ExitProcess` ends all threads
/// before it tells a library: then nothing is called, and the process is ended at once when one of them was writing to the log.
void callAtProcessEnd(void (*work)());

/// True in a child that was forked after `callAtProcessEnd`, and runs no other program: it has none of the threads, and any lock
/// may be held for ever.
[[nodiscard]] bool isForkedChild();

} // namespace Velquor::Util
