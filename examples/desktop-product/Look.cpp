#include "Look.h"

#include <QApplication>
#include <QFontMetrics>
#include <QPainter>
#include <cmath>

namespace {

/// How bright a colour is to the eye, 0 to 1.
qreal brightness(const QColor& colour) {
    const auto linear = [](qreal channel) {
        return channel <= 0.03928 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
}

} // namespace

namespace Look {

QColor mixed(const QColor& a, const QColor& b, qreal part) {
    const auto channel = [part](int first, int second) { return qRound(first * part + second * (1 - part)); };
    return QColor(channel(a.red(), b.red()), channel(a.green(), b.green()), channel(a.blue(), b.blue()));
}

qreal contrast(const QColor& a, const QColor& b) {
    const qreal first = brightness(a);
    const qreal second = brightness(b);
    return (qMax(first, second) + 0.05) / (qMin(first, second) + 0.05);
}

bool isHighContrast(const QPalette& palette) {
    // Black and white have 21.
    return contrast(palette.color(QPalette::WindowText), palette.color(QPalette::Window)) > 19;
}

QColor readableOn(const QColor& background) {
    return contrast(Qt::black, background) > contrast(Qt::white, background) ? Qt::black : Qt::white;
}

QFont scaled(QFont font, qreal factor, bool isBold) {
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * factor);
    font.setBold(isBold);
    return font;
}

int lines(const QWidget& widget, qreal count) {
    return qRound(widget.fontMetrics().height() * count);
}

QLabel* label(const QString& objectName, qreal factor, bool isBold) {
    auto* const made = new QLabel;
    made->setObjectName(objectName);
    made->setFont(scaled(made->font(), factor, isBold));
    made->setTextFormat(Qt::PlainText);
    // A name in another script stays on the side where the window's texts begin.
    made->setAlignment((QGuiApplication::isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignAbsolute
                       | Qt::AlignVCenter);
    made->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return made;
}

QLabel* quietLabel(const QString& objectName, const QString& text) {
    QLabel* const made = label(objectName);
    made->setForegroundRole(QPalette::PlaceholderText);
    made->setWordWrap(true);
    made->setText(text);
    return made;
}

QPushButton* button(const QString& objectName, const QString& text, const QString& toolTip) {
    auto* const made = new QPushButton(text);
    made->setObjectName(objectName);
    made->setToolTip(toolTip);
    made->setAccessibleDescription(toolTip);
    made->setAutoDefault(true);
    return made;
}

QPixmap dot(const QWidget& widget, const QColor& colour) {
    const int side = lines(widget, 0.9);
    const qreal ratio = widget.devicePixelRatioF();
    QPixmap picture(QSize(side, side) * ratio);
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    painter.drawEllipse(QPointF(side, side) / 2, side * 0.28, side * 0.28);
    return picture;
}

void makePrimary(QPushButton& button) {
    const auto paint = [&button](QPalette palette) {
        for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive}) {
            const QColor back = palette.color(group, QPalette::Highlight);
            const QColor text = palette.color(group, QPalette::HighlightedText);
            palette.setColor(group, QPalette::Button, back);
            palette.setColor(group, QPalette::ButtonText, contrast(text, back) < 4.5 ? readableOn(back) : text);
        }
        button.setPalette(palette);
    };
    paint(QApplication::palette());
    QObject::connect(qApp, &QGuiApplication::paletteChanged, &button, paint);
}

} // namespace Look
