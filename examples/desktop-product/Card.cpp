#include "Card.h"

#include "Accessibility.h"
#include "Look.h"

#include <QPainter>

Card::Card(const QString& title, QWidget* parent)
    : QWidget(parent)
    , m_content(new QVBoxLayout(this)) {
    const int margin = Look::lines(*this, 0.9);
    m_content->setContentsMargins(margin, margin, margin, margin);
    m_content->setSpacing(Look::lines(*this, 0.45));
    setAccessibleName(title);
    Accessibility::setRole(*this, QAccessible::Grouping);
    if (title.isEmpty())
        return;
    QLabel* const heading = Look::label(QString(), 1.1, true);
    heading->setText(title);
    m_content->addWidget(heading);
}

void Card::setTint(const QColor& tint) {
    m_tint = tint;
    update();
}

void Card::paintEvent(QPaintEvent*) {
    const QColor base = palette().color(QPalette::Base);
    const QColor text = palette().color(QPalette::Text);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(m_tint.isValid() ? Look::mixed(m_tint, base, 0.13) : base);
    painter.setPen(m_tint.isValid() ? Look::mixed(m_tint, base, 0.6)
                                    : Look::mixed(text, base, Look::isHighContrast(palette()) ? 0.8 : 0.14));
    const qreal radius = Look::lines(*this, 0.5);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
}
