#pragma once

#include <QObject>
#include <QString>
#include <thread>

/// Reads lines from the standard input on a separate thread, since Qt's event loop cannot wait for it in the same way on both
/// systems.
///
/// Thread: the main thread, where `lineRead` and `ended` are delivered. Owner: main().
class CommandReader : public QObject {
    Q_OBJECT

public:
    CommandReader() = default;
    ~CommandReader() override;

    void start();

signals:
    void lineRead(const QString& line);
    void ended();

private:
    std::thread m_thread;
};
