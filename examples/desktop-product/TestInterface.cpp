#include "TestInterface.h"

#include "TextMeasures.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QCryptographicHash>
#include <QDialog>
#include <QHash>
#include <QImage>
#include <QJsonDocument>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPixmap>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QScreen>
#include <QVector>
#include <algorithm>
#include <cstdio>
#include <iostream>
#include <string>

namespace {

const auto quitCommand = QStringLiteral("quit");
// The quality that compresses a PNG most.
constexpr int smallestFile = 0;

void print(const QJsonObject& object) {
    std::puts(QJsonDocument(object).toJson(QJsonDocument::Compact).constData());
    std::fflush(stdout);
}

QString textOfItems(const QAbstractItemModel& model) {
    QStringList rows;
    for (int row = 0; row < model.rowCount(); ++row) {
        QStringList cells;
        for (int column = 0; column < model.columnCount(); ++column)
            cells.append(model.index(row, column).data().toString());
        rows.append(cells.join(QLatin1Char('\t')));
    }
    return rows.join(QLatin1Char('\n'));
}

QString textOf(const QWidget& part) {
    if (const auto* const label = qobject_cast<const QLabel*>(&part))
        return label->text();
    if (const auto* const button = qobject_cast<const QAbstractButton*>(&part))
        return button->text();
    if (const auto* const line = qobject_cast<const QLineEdit*>(&part))
        return line->text();
    if (const auto* const note = qobject_cast<const QPlainTextEdit*>(&part))
        return note->toPlainText();
    if (const auto* const box = qobject_cast<const QComboBox*>(&part))
        return box->currentText();
    if (const auto* const bar = qobject_cast<const QProgressBar*>(&part))
        return QString::number(bar->value());
    if (const auto* const view = qobject_cast<const QAbstractItemView*>(&part))
        return textOfItems(*view->model());
    return {};
}

/// With its 256 most frequent colours a picture of a window looks the same, and its file is half as large.
QImage inFewColours(const QImage& picture) {
    QHash<QRgb, int> counts;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x)
            ++counts[picture.pixel(x, y)];
    }
    QVector<QRgb> colours;
    for (auto count = counts.cbegin(); count != counts.cend(); ++count)
        colours.append(count.key());
    std::sort(colours.begin(), colours.end(), [&counts](QRgb a, QRgb b) { return counts.value(a) > counts.value(b); });
    return picture.convertToFormat(QImage::Format_Indexed8, colours.mid(0, 256), Qt::ThresholdDither | Qt::AvoidDither);
}

QString digest(QWidget& part) {
    const QImage picture = part.grab().toImage();
    const QByteArray pixels =
        QByteArray::fromRawData(reinterpret_cast<const char*>(picture.constBits()), int(picture.sizeInBytes()));
    return QString::fromLatin1(QCryptographicHash::hash(pixels, QCryptographicHash::Md5).toHex());
}

} // namespace

TestInterface::TestInterface(QWidget& window)
    : m_window(window) {
    connect(this, &TestInterface::lineRead, this, &TestInterface::execute);
}

TestInterface::~TestInterface() {
    // The thread may wait for a line that never arrives. It ends with the process, which is about to exit.
    if (m_reader.joinable())
        m_reader.detach();
}

void TestInterface::start() {
    m_reader = std::thread([this] {
        std::string line;
        while (std::getline(std::cin, line))
            emit lineRead(QString::fromStdString(line));
        emit lineRead(quitCommand);
    });
}

void TestInterface::tellAddress(const QString& address) {
    print({{QStringLiteral("open"), address}});
}

void TestInterface::execute(const QString& line) {
    if (line == quitCommand) {
        m_window.close();
        return;
    }
    print(answer(line.section(QLatin1Char(' '), 0, 0), line.section(QLatin1Char(' '), 1)));
}

QJsonObject TestInterface::answer(const QString& command, const QString& argument) const {
    if (command == QStringLiteral("focus")) {
        const QWidget* const part = QApplication::focusWidget();
        return {{QStringLiteral("name"), part ? part->objectName() : QString()}};
    }
    if (command == QStringLiteral("picture"))
        return {{QStringLiteral("ok"), inFewColours(picture().toImage()).save(argument, "PNG", smallestFile)}};
    if (command == QStringLiteral("cut"))
        return {{QStringLiteral("texts"), TextMeasures::cutOffTexts(m_window)}};
    if (command == QStringLiteral("colours"))
        return {{QStringLiteral("texts"), TextMeasures::colours(m_window)}};
    if (command == QStringLiteral("screen"))
        return {
            {QStringLiteral("ok"), inFewColours(m_window.screen()->grabWindow(0).toImage()).save(argument, "PNG", smallestFile)}};
    if (command == QStringLiteral("size")) {
        m_window.resize(argument.section(QLatin1Char(' '), 0, 0).toInt(), argument.section(QLatin1Char(' '), 1).toInt());
        return {{QStringLiteral("ok"), true}};
    }
    auto* const part = m_window.findChild<QWidget*>(argument);
    if (!part || command != QStringLiteral("part"))
        return {{QStringLiteral("error"), QStringLiteral("unknown command or part")}};
    const QPoint middle = part->mapToGlobal(part->rect().center()) * part->devicePixelRatioF();
    return {{QStringLiteral("text"), textOf(*part)},
            {QStringLiteral("visible"), part->isVisible()},
            {QStringLiteral("enabled"), part->isEnabled()},
            {QStringLiteral("x"), middle.x()},
            {QStringLiteral("y"), middle.y()},
            {QStringLiteral("look"), digest(*part)}};
}

QPixmap TestInterface::picture() const {
    QPixmap picture = m_window.grab();
    QPainter painter(&picture);
    for (QDialog* const dialog : m_window.findChildren<QDialog*>()) {
        if (!dialog->isVisible())
            continue;
        // The frame is the window manager's, which a test does not have.
        const QRect place(dialog->pos() - m_window.pos(), dialog->size());
        painter.drawPixmap(place.topLeft(), dialog->grab());
        painter.drawRect(place.adjusted(-1, -1, 0, 0));
    }
    return picture;
}
