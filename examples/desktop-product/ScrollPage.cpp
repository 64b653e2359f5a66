#include "ScrollPage.h"

#include <QEvent>
#include <QScrollBar>

ScrollPage::ScrollPage(QWidget* content) {
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    // The parts on the page have the focus, and the page follows it.
    setFocusPolicy(Qt::NoFocus);
    setWidget(content);
    content->setAutoFillBackground(false);
    viewport()->setAutoFillBackground(false);
}

QSize ScrollPage::minimumSizeHint() const {
    const QSize least = QScrollArea::minimumSizeHint();
    return {widget()->minimumSizeHint().width() + verticalScrollBar()->sizeHint().width(), least.height()};
}

bool ScrollPage::eventFilter(QObject* object, QEvent* event) {
    if (object == widget() && event->type() == QEvent::LayoutRequest)
        updateGeometry();
    return QScrollArea::eventFilter(object, event);
}
