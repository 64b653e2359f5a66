#pragma once

#include <QJsonObject>
#include <QObject>
#include <QString>
#include <QWidget>
#include <thread>

/// Gives tests the positions and the content of the window's parts, so that a test can operate them with the real keyboard and
/// mouse.
///
/// Reads commands from the standard input, one per line, and answers each with one line of JSON:
/// `part NAME` (its content, its centre on the screen, and a digest of its look), `focus` (the part with the keyboard focus),
/// `picture FILE` and `screen FILE` (write the window with its dialog, or the whole screen, as PNG), `size WIDTH HEIGHT`, `cut`
/// and `colours` (see TextMeasures.h), `quit`. The end of the input quits too.
///
/// Thread: the main thread; a separate thread waits for lines. Owner: main().
class TestInterface : public QObject {
    Q_OBJECT

public:
    explicit TestInterface(QWidget& window);
    ~TestInterface() override;

    void start();
    /// Gives the test the address that a browser would have opened.
    static void tellAddress(const QString& address);

signals:
    void lineRead(const QString& line);

private:
    void execute(const QString& line);
    [[nodiscard]] QPixmap picture() const;
    [[nodiscard]] QJsonObject answer(const QString& command, const QString& argument) const;

    QWidget& m_window;
    std::thread m_reader;
};
