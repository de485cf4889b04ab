#include "platform/linux/pages/ReadableStyle.h"

#include <QApplication>
#include <QStyleOption>

namespace quillo {
namespace {

const QString styleOfQt = QStringLiteral("fusion");
constexpr int middle = 128;
// Of the text's colour, in what is drawn between it and the window's, in hundredths.
constexpr int inFrames = 45;
constexpr int inDisabled = 50;
constexpr int inHints = 65;
// By how much Qt makes frames darker than the window, in hundredths.
constexpr int darkening = 140;

bool isDark(const QPalette& palette) {
  return palette.color(QPalette::Active, QPalette::Window).lightness() < middle;
}

QColor between(const QPalette& palette, int partOfText) {
  const QColor text = palette.color(QPalette::Active, QPalette::WindowText);
  const QColor window = palette.color(QPalette::Active, QPalette::Window);
  const auto mixed = [partOfText](int of, int rest) {
    return (of * partOfText + rest * (100 - partOfText)) / 100;
  };
  return {mixed(text.red(), window.red()), mixed(text.green(), window.green()),
          mixed(text.blue(), window.blue())};
}

QPalette framesSeen(QPalette palette) {
  if (isDark(palette)) {
    palette.setColor(QPalette::Window, between(palette, inFrames).lighter(darkening));
  }
  return palette;
}

template <typename Option>
Option framesSeenIn(const Option& option) {
  Option seen = option;
  seen.palette = framesSeen(option.palette);
  return seen;
}

}  // namespace

ReadableStyle::ReadableStyle() : QProxyStyle(styleOfQt) {}

void ReadableStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option,
                                  QPainter* painter, const QWidget* widget) const {
  const auto* frame = qstyleoption_cast<const QStyleOptionFrame*>(option);
  const auto* button = qstyleoption_cast<const QStyleOptionButton*>(option);
  if (frame && (element == PE_Frame || element == PE_FrameLineEdit)) {
    const QStyleOptionFrame seen = framesSeenIn(*frame);
    QProxyStyle::drawPrimitive(element, &seen, painter, widget);
  } else if (button && (element == PE_IndicatorCheckBox || element == PE_IndicatorRadioButton)) {
    const QStyleOptionButton seen = framesSeenIn(*button);
    QProxyStyle::drawPrimitive(element, &seen, painter, widget);
  } else {
    QProxyStyle::drawPrimitive(element, option, painter, widget);
  }
}

void ReadableStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                                       QPainter* painter, const QWidget* widget) const {
  const auto* box = qstyleoption_cast<const QStyleOptionSpinBox*>(option);
  if (box && control == CC_SpinBox) {
    const QStyleOptionSpinBox seen = framesSeenIn(*box);
    QProxyStyle::drawComplexControl(control, &seen, painter, widget);
  } else {
    QProxyStyle::drawComplexControl(control, option, painter, widget);
  }
}

void ReadableStyle::polish(QPalette& palette) {
  QProxyStyle::polish(palette);
  if (!isDark(palette)) {
    return;
  }
  palette.setColor(QPalette::PlaceholderText, between(palette, inHints));
  if (palette.color(QPalette::AlternateBase).lightness() >= middle) {
    palette.setColor(QPalette::AlternateBase, palette.color(QPalette::Window));
  }
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    palette.setColor(QPalette::Disabled, role, between(palette, inDisabled));
  }
}

void makeStyleReadable() {
  if (QApplication::style()->name() == styleOfQt) {
    QApplication::setStyle(new ReadableStyle);
  }
}

}  // namespace quillo
