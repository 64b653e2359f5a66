#include "CommandLines.h"

#include <iostream>

CommandLines::CommandLines(DWORD mainThread)
    : m_thread([mainThread] {
        std::string line;
        while (std::getline(std::cin, line)) {
            if (!line.empty() && line.back() == '\r')
                line.pop_back();
            PostThreadMessageW(mainThread, message, 0, reinterpret_cast<LPARAM>(new std::string(line)));
        }
        PostThreadMessageW(mainThread, message, 0, 0);
    }) {}

CommandLines::~CommandLines() {
    // The thread may wait for a line that never arrives. It ends with the process, which is about to exit.
    m_thread.detach();
}
