#include "CommandReader.h"

#include <iostream>
#include <string>

CommandReader::~CommandReader() {
    // The thread may wait for a line that never arrives. It ends with the process, which is about to exit.
    if (m_thread.joinable())
        m_thread.detach();
}

void CommandReader::start() {
    m_thread = std::thread([this] {
        std::string line;
        while (std::getline(std::cin, line))
            emit lineRead(QString::fromStdString(line));
        emit ended();
    });
}
