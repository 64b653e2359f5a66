#pragma once

#include <QJsonObject>
#include <QObject>
#include <QString>
#include <QWidget>
#include <thread>

/// For tests: tells where the parts of the window are and what they show, so that a test can use the real keyboard and mouse on
/// them.
///
/// Reads commands from the standard input, one a line, and answers each with one line of JSON:
/// `part NAME` (what it shows, and its middle on the screen), `focus` (the part that has the keyboard), `picture FILE` and
/// `screen FILE` (write the window, or all that is on the screen, as PNG), `size WIDTH HEIGHT`, `quit`. The end of the input
/// quits too.
///
/// Thread: the main thread, with a thread of its own that waits for lines. Owner: main().
class TestInterface : public QObject {
    Q_OBJECT

public:
    explicit TestInterface(QWidget& window);
    ~TestInterface() override;

    void start();
    /// Tells the test which address a browser would have been given.
    static void tellAddress(const QString& address);

signals:
    void lineRead(const QString& line);

private:
    void execute(const QString& line);
    [[nodiscard]] QJsonObject answer(const QString& command, const QString& argument) const;

    QWidget& m_window;
    std::thread m_reader;
};
