#pragma once

class QThread;

namespace Velquor::Util {

/// What a thread serves beside windows and network sockets, which it does not.
enum class ThreadServes { PostsAndTimers, LocalSocketsToo };

/// Lets a thread wait for what it needs alone.
///
/// On Windows, Qt's own dispatcher wakes a thread by a window message, and looks at the message queue several times, sets a timer
/// and ends it for each: some seven calls to the system where two will do. Messages between processes pass several threads on
/// their way, so that is most of the time they take. Other systems have no such queue, and Qt's own dispatcher serves.
///
/// Call it before the thread starts. The dispatcher belongs to the thread.
void useLeanDispatcher(QThread& thread, ThreadServes what);

} // namespace Velquor::Util
