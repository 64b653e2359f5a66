#include "NoticeBar.h"

#include "Accessibility.h"
#include "Look.h"

#include <QHBoxLayout>
#include <QPainter>

namespace {

// Amber is recognized as a warning on a light and on a dark background.
const QColor warningColour(0xe0, 0x8a, 0x00);

QPixmap sign(const QWidget& widget, const QColor& colour, const QString& letter) {
    const int side = Look::lines(widget, 1.6);
    const qreal ratio = widget.devicePixelRatioF();
    QPixmap picture(QSize(side, side) * ratio);
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    painter.drawEllipse(0, 0, side, side);
    painter.setPen(Look::readableOn(colour));
    painter.setFont(Look::scaled(widget.font(), 1.2, true));
    painter.drawText(QRect(0, 0, side, side), Qt::AlignCenter, letter);
    return picture;
}

} // namespace

NoticeBar::NoticeBar(QWidget* parent)
    : Card(QString(), parent)
    , m_sign(new QLabel)
    , m_whatHappened(Look::label(QStringLiteral("noticeTitle"), 1, true))
    , m_whatToDo(Look::label(QStringLiteral("noticeText")))
    , m_log(Look::button(QStringLiteral("logButton"), tr("Open &log"), tr("Open the log of the web services, which tells more")))
    , m_close(Look::button(QStringLiteral("closeNoticeButton"), tr("Dis&miss"), tr("Close this message"))) {
    m_whatHappened->setWordWrap(true);
    m_whatToDo->setWordWrap(true);
    Accessibility::setRole(*this, QAccessible::Notification);
    auto* const texts = new QVBoxLayout;
    texts->setSpacing(Look::lines(*this, 0.2));
    texts->addWidget(m_whatHappened);
    texts->addWidget(m_whatToDo);
    auto* const row = new QHBoxLayout;
    row->setSpacing(Look::lines(*this, 0.7));
    row->addWidget(m_sign, 0, Qt::AlignTop);
    row->addLayout(texts, 1);
    row->addWidget(m_log, 0, Qt::AlignVCenter);
    row->addWidget(m_close, 0, Qt::AlignVCenter);
    content().addLayout(row);
    connect(m_log, &QPushButton::clicked, this, &NoticeBar::logWanted);
    connect(m_close, &QPushButton::clicked, this, &NoticeBar::closeWanted);
    hide();
}

void NoticeBar::showFailure(const Failure& failure) {
    showKind(failure.isInformation);
    m_whatHappened->setText(failure.whatHappened);
    m_whatToDo->setText(failure.whatToDo);
    setAccessibleName(failure.whatHappened);
    setAccessibleDescription(failure.whatToDo);
    show();
    Accessibility::alert(*this);
}

void NoticeBar::showKind(bool isInformation) {
    const QColor colour = isInformation ? palette().color(QPalette::Highlight) : warningColour;
    setTint(colour);
    m_sign->setPixmap(sign(*this, colour, isInformation ? QStringLiteral("i") : QStringLiteral("!")));
    m_log->setHidden(isInformation);
}
