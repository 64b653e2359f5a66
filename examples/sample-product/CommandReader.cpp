#include "CommandReader.h"

#include <iostream>
#include <mutex>
#include <string>
#include <thread>

/// What the thread and the object know of each other: the thread may wait for a line until the process ends.
struct CommandReader::Link {
    std::mutex mutex;
    CommandReader* reader = nullptr; ///< null: gone
};

CommandReader::CommandReader()
    : m_link(std::make_shared<Link>()) {
    m_link->reader = this;
}

CommandReader::~CommandReader() {
    const std::lock_guard lock(m_link->mutex);
    m_link->reader = nullptr;
}

void CommandReader::start() {
    std::thread([link = m_link] {
        std::string line;
        while (std::getline(std::cin, line)) {
            const std::lock_guard lock(link->mutex);
            if (link->reader)
                emit link->reader->lineRead(QString::fromStdString(line));
        }
        const std::lock_guard lock(link->mutex);
        if (link->reader)
            emit link->reader->ended();
    }).detach();
}
