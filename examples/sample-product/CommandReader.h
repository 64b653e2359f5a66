#pragma once

#include <QObject>
#include <QString>
#include <thread>

/// Reads lines from the standard input on a thread of its own, since neither system can wait for it in Qt's event loop alike.
///
/// Thread: lives on the main thread, where `lineRead` and `ended` are delivered. Owner: main().
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
