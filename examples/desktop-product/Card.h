#pragma once

#include <QVBoxLayout>
#include <QWidget>

/// A rounded ground with a thin edge that holds what belongs together. Its colours follow the palette.
///
/// Thread: the main thread. Owner: its parent.
class Card : public QWidget {
    Q_OBJECT

public:
    /// `title` stands above the content in bold; none when it is empty. It is the card's accessible name.
    explicit Card(const QString& title, QWidget* parent = nullptr);

    [[nodiscard]] QVBoxLayout& content() { return *m_content; }
    /// Mixes the colour into the ground, to draw the eye; an invalid colour takes it back.
    void setTint(const QColor& tint);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QVBoxLayout* m_content;
    QColor m_tint;
};
