#pragma once

#include <string>
#include <thread>
#include <windows.h>

/// Reads lines from the standard input on a thread of its own and posts each to the main thread as a message, as any native
/// program tells its message loop that there is something to do.
///
/// Thread: made on the main thread. Owner: main().
class CommandLines {
public:
    /// Posted with a `std::string*` as LPARAM that the receiver deletes; null at the end of the input.
    static constexpr UINT message = WM_APP + 1;

    explicit CommandLines(DWORD mainThread);
    ~CommandLines();
    CommandLines(const CommandLines&) = delete;
    CommandLines& operator=(const CommandLines&) = delete;

private:
    std::thread m_thread;
};
