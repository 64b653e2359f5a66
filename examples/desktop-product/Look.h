#pragma once

#include <QColor>
#include <QFont>
#include <QLabel>
#include <QPixmap>
#include <QPushButton>

/// What all panels share: sizes that follow the font, and colours that follow the palette. Thread: the main thread.
namespace Look {

/// `part` of `a` in `b`, 0 to 1.
[[nodiscard]] QColor mixed(const QColor& a, const QColor& b, qreal part);
[[nodiscard]] QFont scaled(QFont font, qreal factor, bool isBold = false);
/// So many heights of a line of the font: the measure for margins and rounded corners.
[[nodiscard]] int lines(const QWidget& widget, qreal count);

/// A label with a name that assistive technology and tests find it by. Its text can be selected.
[[nodiscard]] QLabel* label(const QString& objectName, qreal factor = 1, bool isBold = false);
/// One in a quieter colour that may break its lines.
[[nodiscard]] QLabel* quietLabel(const QString& objectName, const QString& text = QString());
/// A button that Return presses too.
[[nodiscard]] QPushButton* button(const QString& objectName, const QString& text, const QString& toolTip);
/// A filled circle of the height of small letters, sharp on every screen.
[[nodiscard]] QPixmap dot(const QWidget& widget, const QColor& colour);
/// Paints the button in the palette's highlight: the one thing to do next.
void makePrimary(QPushButton& button);

} // namespace Look
