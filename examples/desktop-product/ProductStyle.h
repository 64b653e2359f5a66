#pragma once

#include <QProxyStyle>

/// Paints buttons in the exact colours of their palette, on every system. The base style lightens them, and tints the one with
/// the focus, so that their text may be too weak to read.
///
/// Thread: the main thread. Owner: the application.
class ProductStyle : public QProxyStyle {
public:
    ProductStyle();

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget = nullptr) const override;
};
