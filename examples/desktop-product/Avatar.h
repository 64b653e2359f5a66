#pragma once

#include <QWidget>

/// The initials of the signed-in user in a circle.
///
/// Thread: the main thread. Owner: its parent.
class Avatar : public QWidget {
    Q_OBJECT

public:
    explicit Avatar(QWidget* parent = nullptr);

    /// A name of one or two words. An empty name paints an empty circle.
    void setName(const QString& name);
    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_initials;
};
