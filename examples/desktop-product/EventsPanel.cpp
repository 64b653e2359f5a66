#include "EventsPanel.h"

#include "Look.h"

#include <QDateTime>
#include <QHeaderView>

namespace {
// The limit of the list, so that a window that stays open for weeks keeps only the latest events.
constexpr int maximalCount = 500;
} // namespace

EventsPanel::EventsPanel(QWidget* parent)
    : Card(tr("Events"), parent)
    , m_list(new QTreeWidget) {
    m_list->setObjectName(QStringLiteral("events"));
    m_list->setAccessibleName(tr("Events"));
    m_list->setAccessibleDescription(tr("What happened, the latest first"));
    m_list->setRootIsDecorated(false);
    m_list->setUniformRowHeights(true);
    m_list->setAlternatingRowColors(true);
    m_list->setAllColumnsShowFocus(true);
    m_list->setFrameShape(QFrame::NoFrame);
    m_list->setHeaderLabels({tr("Time"), tr("Event"), tr("From"), tr("Product")});
    m_list->setMinimumHeight(Look::lines(*this, 7));
    QHeaderView* const header = m_list->header();
    header->setStretchLastSection(true);
    header->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    header->resizeSection(0, Look::lines(*this, 6.5));
    header->resizeSection(1, Look::lines(*this, 12.5));
    header->resizeSection(2, Look::lines(*this, 8));
    content().addWidget(m_list, 1);
}

void EventsPanel::addEvent(const QString& event, const QString& consumerKey, EventOrigin origin) {
    const QString time = QTime::currentTime().toString(QStringLiteral("HH:mm:ss.zzz"));
    auto* const row = new QTreeWidgetItem({time, event, originText(origin), consumerKey});
    row->setSizeHint(0, {0, Look::lines(*m_list, 1.35)});
    m_list->insertTopLevelItem(0, row);
    while (m_list->topLevelItemCount() > maximalCount)
        delete m_list->takeTopLevelItem(maximalCount);
    m_list->scrollToTop();
}
