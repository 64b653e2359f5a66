#pragma once

#include <QScrollArea>

/// A page that scrolls up and down where the screen is too low for it, such as with large text. It is never narrower than its
/// content. Thread: the main thread.
class ScrollPage : public QScrollArea {
    Q_OBJECT

public:
    explicit ScrollPage(QWidget* content);

    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    bool eventFilter(QObject* object, QEvent* event) override;
};
