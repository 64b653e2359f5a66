#pragma once

class QThread;

namespace Velquor::Util {

/// What a thread serves. None serves windows or network sockets.
enum class ThreadServes { PostsAndTimers, LocalSocketsToo };

/// Gives a thread an event dispatcher without a window message queue.
///
/// On Windows, Qt's own dispatcher wakes a thread by a window message. For each one it peeks at the message queue several times,
/// and starts and stops a timer: about seven system calls where two are enough. A message between processes passes several
/// threads, so these calls are most of its time. Other systems keep Qt's own dispatcher.
///
/// Call it before the thread starts. The thread owns the dispatcher.
void useLeanDispatcher(QThread& thread, ThreadServes what);

} // namespace Velquor::Util
