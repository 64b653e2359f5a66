#pragma once

#include <string>
#include <thread>
#include <windows.h>

/// Reads lines from the standard input on a separate thread, and posts each line to the main thread as a message. This is the
/// usual way to give work to the message loop of a native program.
///
/// Thread: created on the main thread. Owner: main().
class CommandLines {
public:
    /// The message has a `std::string*` as LPARAM, which the receiver deletes; null at the end of the input.
    static constexpr UINT message = WM_APP + 1;

    explicit CommandLines(DWORD mainThread);
    ~CommandLines();
    CommandLines(const CommandLines&) = delete;
    CommandLines& operator=(const CommandLines&) = delete;

private:
    std::thread m_thread;
};
