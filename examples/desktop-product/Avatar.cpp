#include "Avatar.h"

#include "Look.h"

#include <QPainter>

Avatar::Avatar(QWidget* parent)
    : QWidget(parent) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void Avatar::setName(const QString& name) {
    m_initials.clear();
    for (const QString& word : name.split(QLatin1Char(' '), Qt::SkipEmptyParts).mid(0, 2))
        m_initials += word.at(0).toUpper();
    update();
}

QSize Avatar::sizeHint() const {
    const int side = Look::lines(*this, 3.2);
    return {side, side};
}

void Avatar::paintEvent(QPaintEvent*) {
    const QColor base = palette().color(QPalette::Base);
    const QColor strong = palette().color(m_initials.isEmpty() ? QPalette::PlaceholderText : QPalette::Highlight);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Look::mixed(strong, base, 0.2));
    painter.drawEllipse(rect());
    if (m_initials.isEmpty()) {
        painter.setBrush(Look::mixed(strong, base, 0.55));
        const qreal side = width();
        painter.drawEllipse(QPointF(side / 2, side * 0.38), side * 0.15, side * 0.15);
        painter.drawChord(QRectF(side * 0.22, side * 0.58, side * 0.56, side * 0.5), 0, 180 * 16);
        return;
    }
    painter.setPen(strong);
    painter.setFont(Look::scaled(font(), 1.35, true));
    painter.drawText(rect(), Qt::AlignCenter, m_initials);
}
