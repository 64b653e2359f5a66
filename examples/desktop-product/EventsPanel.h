#pragma once

#include "Card.h"
#include "EventOrigin.h"

#include <QTreeWidget>

/// What happened, the latest first: when, which event of the library, for which product, and where it came from.
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
