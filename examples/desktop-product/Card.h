#pragma once

#include <QVBoxLayout>
#include <QWidget>

/// A rounded panel with a thin border that groups related content. Its colours follow the palette.
///
/// Thread: the main thread. Owner: its parent.
class Card : public QWidget {
    Q_OBJECT

public:
    /// `title` is above the content, in bold, and is the card's accessible name. Empty: no title.
    explicit Card(const QString& title, QWidget* parent = nullptr);

    [[nodiscard]] QVBoxLayout& content() { return *m_content; }
    /// Tints the background with the colour, to attract attention. An invalid colour removes the tint.
    void setTint(const QColor& tint);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QVBoxLayout* m_content;
    QColor m_tint;
};
