#pragma once

#include <QProxyStyle>

namespace quillo {

// Qt's own style for desktops that it has no other for, readable on a dark background, too: Qt
// draws frames darker than the window, and has black hints and every other row white where the
// desktop names no colours for them. Main thread.
class ReadableStyle final : public QProxyStyle {
 public:
  ReadableStyle();

  void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override;
  void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                          QPainter* painter, const QWidget* widget) const override;
  using QProxyStyle::polish;
  void polish(QPalette& palette) override;
};

// Has the application's windows drawn so, unless its user's desktop has a style of its own. Before
// the first of them is made.
void makeStyleReadable();

}  // namespace quillo
