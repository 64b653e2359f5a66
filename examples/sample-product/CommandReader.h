#pragma once

#include <QObject>
#include <QString>
#include <memory>

/// Reads lines from the standard input on a separate thread, since Qt's event loop cannot wait for it in the same way on both
/// systems.
///
/// Thread: the main thread, where `lineRead` and `ended` are delivered. Owner: main().
class CommandReader : public QObject {
    Q_OBJECT

public:
    CommandReader();
    ~CommandReader() override;

    void start();

signals:
    void lineRead(const QString& line);
    void ended();

private:
    struct Link;

    const std::shared_ptr<Link> m_link;
};
