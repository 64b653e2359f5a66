#include "ProductStyle.h"

#include "Look.h"

#include <QPainter>
#include <QPushButton>
#include <QStyleOption>

namespace {

constexpr qreal roundness = 3;

void drawOutline(QPainter& painter, const QRectF& area, const QColor& colour, qreal width) {
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(colour, width));
    painter.drawRoundedRect(area.adjusted(width / 2, width / 2, -width / 2, -width / 2), roundness, roundness);
}

void drawPanel(QPainter& painter, const QStyleOption& option) {
    const QColor button = option.palette.color(QPalette::Button);
    const QColor text = option.palette.color(QPalette::ButtonText);
    const bool isDown = option.state.testFlag(QStyle::State_Sunken);
    painter.setBrush(isDown ? Look::mixed(text, button, 0.12) : button);
    painter.setPen(Qt::NoPen);
    painter.drawRoundedRect(option.rect, roundness, roundness);
    drawOutline(painter, option.rect, Look::mixed(text, button, Look::isHighContrast(option.palette) ? 0.8 : 0.3), 1);
    // The text has the strongest contrast to the button, so a ring of its colour shows the focus on each button.
    if (option.state.testFlag(QStyle::State_HasFocus))
        drawOutline(painter, QRectF(option.rect).adjusted(2, 2, -2, -2), text, 2);
}

} // namespace

ProductStyle::ProductStyle()
    : QProxyStyle(QStringLiteral("Fusion")) {}

void ProductStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                                 const QWidget* widget) const {
    const bool isButton = qobject_cast<const QPushButton*>(widget);
    if (!isButton || (element != PE_FrameFocusRect && element != PE_PanelButtonCommand)) {
        QProxyStyle::drawPrimitive(element, option, painter, widget);
        return;
    }
    // The panel shows the focus already.
    if (element == PE_FrameFocusRect)
        return;
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    drawPanel(*painter, *option);
    painter->restore();
}
