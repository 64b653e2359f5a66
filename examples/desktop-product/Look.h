#pragma once

#include <QColor>
#include <QFont>
#include <QLabel>
#include <QPalette>
#include <QPixmap>
#include <QPushButton>

/// Shared by all panels: sizes that follow the font, and colours that follow the palette. Thread: the main thread.
namespace Look {

/// Mixes the colours: `part` of `a` in `b`, 0 to 1.
[[nodiscard]] QColor mixed(const QColor& a, const QColor& b, qreal part);
/// The contrast of two colours, 1 to 21. Text needs 4.5.
[[nodiscard]] qreal contrast(const QColor& a, const QColor& b);
/// Whether the system's colours are those of a high contrast setting. Then nothing is quiet.
[[nodiscard]] bool isHighContrast(const QPalette& palette);
/// Black or white, whichever is easier to read on this colour.
[[nodiscard]] QColor readableOn(const QColor& background);
[[nodiscard]] QFont scaled(QFont font, qreal factor, bool isBold = false);
/// The height of this many lines of the font. Margins and rounded corners use it as their unit.
[[nodiscard]] int lines(const QWidget& widget, qreal count);

/// A label with a name for assistive technology and tests. Its text can be selected.
[[nodiscard]] QLabel* label(const QString& objectName, qreal factor = 1, bool isBold = false);
/// A label in a quieter colour, whose lines may break.
[[nodiscard]] QLabel* quietLabel(const QString& objectName, const QString& text = QString());
/// A button that Return presses too.
[[nodiscard]] QPushButton* button(const QString& objectName, const QString& text, const QString& toolTip);
/// A filled circle with the height of small letters, sharp on every screen.
[[nodiscard]] QPixmap dot(const QWidget& widget, const QColor& colour);
/// Paints the button in the palette's highlight, to mark the next step.
void makePrimary(QPushButton& button);

} // namespace Look
