#include "Theme.h"

#include <QApplication>
#include <QPalette>
#include <QStyleFactory>

namespace {

struct Colours {
    QRgb window, base, alternate, text, quiet, button, highlight, highlightedText, edge;
};

// Each text has a contrast of at least 4.5 to 1 on each of its backgrounds, including the text in the quieter colour.
constexpr Colours light{0xf3f4f7, 0xffffff, 0xf7f8fa, 0x1c2230, 0x566072, 0xfcfcfd, 0x2563c9, 0xffffff, 0xc9cfd9};
constexpr Colours dark{0x191c22, 0x23272f, 0x282d36, 0xe7eaf0, 0xa3acbb, 0x323843, 0x6ea3ff, 0x10141b, 0x434b59};

QPalette paletteOf(const Colours& colours) {
    QPalette palette{QColor(colours.button), QColor(colours.window)};
    palette.setColor(QPalette::WindowText, colours.text);
    palette.setColor(QPalette::Base, colours.base);
    palette.setColor(QPalette::AlternateBase, colours.alternate);
    palette.setColor(QPalette::Text, colours.text);
    palette.setColor(QPalette::ButtonText, colours.text);
    palette.setColor(QPalette::PlaceholderText, colours.quiet);
    palette.setColor(QPalette::Highlight, colours.highlight);
    palette.setColor(QPalette::HighlightedText, colours.highlightedText);
    palette.setColor(QPalette::Link, colours.highlight);
    palette.setColor(QPalette::ToolTipBase, colours.base);
    palette.setColor(QPalette::ToolTipText, colours.text);
    palette.setColor(QPalette::Mid, colours.edge);
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, colours.quiet);
    return palette;
}

} // namespace

void applyTheme(Theme theme) {
    // This is the only style that paints buttons in their palette on every system. The highlight of the next button needs it.
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    if (theme != Theme::System)
        QApplication::setPalette(paletteOf(theme == Theme::Light ? light : dark));
}
