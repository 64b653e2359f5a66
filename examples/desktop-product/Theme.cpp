#include "Theme.h"

#include "Look.h"
#include "ProductStyle.h"

#include <QApplication>
#include <QPalette>

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

/// The colour of a text, and the colours that may be behind it.
struct TextColour {
    QPalette::ColorRole text, strongest;
    QPalette::ColorRole behind[2];
};

constexpr TextColour textColours[] = {
    {QPalette::PlaceholderText, QPalette::Text, {QPalette::Window, QPalette::Base}},
    {QPalette::WindowText, QPalette::WindowText, {QPalette::Window, QPalette::Window}},
    {QPalette::Text, QPalette::Text, {QPalette::Base, QPalette::Base}},
    {QPalette::ButtonText, QPalette::ButtonText, {QPalette::Button, QPalette::Button}},
};

QColor readable(const QPalette& palette, QPalette::ColorGroup group, const TextColour& colours) {
    const QColor strongest = palette.color(QPalette::Active, colours.strongest);
    const QColor wanted = palette.color(group, colours.text);
    // A little more than the 4.5 that text needs, since a notice is tinted.
    const qreal needed = Look::isHighContrast(palette) && group != QPalette::Disabled ? 19 : 5;
    QColor made;
    for (int step = 0; step <= 10; ++step) {
        qreal least = 21;
        for (const QPalette::ColorRole role : colours.behind) {
            const QColor behind = palette.color(group, role);
            made = Look::mixed(strongest, Look::mixed(wanted, behind, wanted.alphaF()), step / 10.0);
            least = qMin(least, Look::contrast(made, behind));
        }
        if (least >= needed)
            break;
    }
    return made;
}

/// Systems may have quiet and disabled texts that are too weak to read. The palette sets no other colour, so these go on
/// following the system.
void makeTextsReadable() {
    const QPalette palette = QApplication::palette();
    QPalette changes;
    bool isChanged = false;
    for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        for (const TextColour& colours : textColours) {
            const QColor colour = readable(palette, group, colours);
            if (colour == palette.color(group, colours.text))
                continue;
            changes.setColor(group, colours.text, colour);
            isChanged = true;
        }
    }
    if (isChanged)
        QApplication::setPalette(changes);
}

} // namespace

void applyTheme(Theme theme) {
    QApplication::setStyle(new ProductStyle);
    if (theme != Theme::System) {
        QApplication::setPalette(paletteOf(theme == Theme::Light ? light : dark));
        return;
    }
    makeTextsReadable();
    // The user may choose high contrast at any time. The change that this makes itself needs no further change.
    QObject::connect(qApp, &QGuiApplication::paletteChanged, qApp, &makeTextsReadable);
}
