#pragma once

#include "Card.h"
#include "EventOrigin.h"

#include <QTreeWidget>

/// The list of events, the latest first: time, event of the library, product and origin.
///
/// Thread: the main thread. Owner: the main window.
class EventsPanel : public Card {
    Q_OBJECT

public:
    explicit EventsPanel(QWidget* parent = nullptr);

    void addEvent(const QString& event, const QString& consumerKey, EventOrigin origin);

private:
    QTreeWidget* m_list;
};
