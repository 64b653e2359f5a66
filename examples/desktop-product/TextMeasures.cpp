#include "TextMeasures.h"

#include "Look.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QHash>
#include <QImage>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QPixmap>
#include <QPlainTextEdit>
#include <QTabBar>
#include <algorithm>

namespace {

QString shownText(const QWidget& part) {
    if (const auto* const label = qobject_cast<const QLabel*>(&part))
        return label->text();
    if (const auto* const button = qobject_cast<const QAbstractButton*>(&part))
        return button->text();
    return {};
}

bool fits(const QWidget& part) {
    // What is scrolled away up or down is not cut off.
    const QRect seen = part.visibleRegion().boundingRect();
    if (!seen.isEmpty() && seen.width() < part.width())
        return false;
    const auto* const label = qobject_cast<const QLabel*>(&part);
    if (label && label->wordWrap())
        return part.height() >= part.heightForWidth(part.width());
    return part.width() >= part.sizeHint().width() && part.height() >= part.minimumSizeHint().height();
}

QPalette::ColorRole textRole(const QWidget& part) {
    if (qobject_cast<const QAbstractButton*>(&part) || qobject_cast<const QComboBox*>(&part))
        return QPalette::ButtonText;
    return part.foregroundRole();
}

bool hasText(const QWidget& part) {
    return !shownText(part).isEmpty() || qobject_cast<const QLineEdit*>(&part) || qobject_cast<const QComboBox*>(&part)
           || qobject_cast<const QAbstractItemView*>(&part) || qobject_cast<const QPlainTextEdit*>(&part)
           || qobject_cast<const QTabBar*>(&part);
}

/// A text covers less than half of the area around it, so the most frequent colour is the one behind it.
QColor background(const QImage& picture, const QRect& area) {
    QHash<QRgb, int> counts;
    const QRect seen = area & picture.rect();
    for (int y = seen.top(); y <= seen.bottom(); ++y) {
        for (int x = seen.left(); x <= seen.right(); ++x)
            ++counts[picture.pixel(x, y)];
    }
    QRgb most = 0;
    for (auto count = counts.cbegin(); count != counts.cend(); ++count) {
        if (count.value() > counts.value(most))
            most = count.key();
    }
    return QColor(most);
}

} // namespace

QJsonArray TextMeasures::cutOffTexts(const QWidget& window) {
    QJsonArray found;
    for (const QWidget* const part : window.findChildren<QWidget*>()) {
        if (part->isVisible() && !shownText(*part).isEmpty() && !fits(*part))
            found.append(shownText(*part));
    }
    return found;
}

QJsonArray TextMeasures::colours(QWidget& window) {
    const QPixmap grabbed = window.grab();
    const qreal ratio = grabbed.devicePixelRatio();
    const QImage picture = grabbed.toImage();
    QJsonArray found;
    for (const QWidget* const part : window.findChildren<QWidget*>()) {
        if (!part->isVisible() || !hasText(*part))
            continue;
        const QRectF area(part->mapTo(&window, QPoint()), part->size());
        const QColor back = background(picture, QRectF(area.topLeft() * ratio, area.size() * ratio).toAlignedRect());
        const QColor text = part->palette().color(part->isEnabled() ? QPalette::Active : QPalette::Disabled, textRole(*part));
        found.append(QJsonObject{{QStringLiteral("part"), part->objectName() + QLatin1Char(' ') + shownText(*part)},
                                 {QStringLiteral("enabled"), part->isEnabled()},
                                 {QStringLiteral("text"), Look::mixed(text, back, text.alphaF()).name()},
                                 {QStringLiteral("back"), back.name()}});
    }
    return found;
}
