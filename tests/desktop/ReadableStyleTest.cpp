#include <gtest/gtest.h>

#include <QCheckBox>
#include <QImage>
#include <QLineEdit>
#include <QRadioButton>
#include <QSpinBox>
#include <QTableView>
#include <algorithm>
#include <cmath>

#include "platform/linux/pages/ReadableStyle.h"

namespace quillo {
namespace {

// What people need to make out a control (WCAG 2.1, 1.4.11 and 1.4.3).
constexpr double enoughForFrames = 3;
constexpr double enoughForTexts = 4.5;

// As a dark desktop gives it to Qt.
QPalette darkPalette() {
  const QColor window(42, 46, 50);
  const QColor text(252, 252, 252);
  QPalette palette(text, QColor(49, 54, 59), Qt::black, Qt::black, Qt::gray, text, Qt::white,
                   QColor(27, 30, 32), window);
  palette.setColor(QPalette::PlaceholderText, QColor(0, 0, 0, 128));
  palette.setColor(QPalette::AlternateBase, Qt::white);
  return palette;
}

double luminance(const QColor& colour) {
  const auto linear = [](double part) {
    return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
         0.0722 * linear(colour.blueF());
}

double contrast(const QColor& one, const QColor& other) {
  const auto [dark, light] = std::minmax({luminance(one), luminance(other)});
  return (light + 0.05) / (dark + 0.05);
}

class ReadableStyleTest : public testing::Test {
 protected:
  // The best contrast of the row of pixels in the middle of it, up to `width`, with the window.
  double contrastAtLeft(QWidget& widget, int width) {
    widget.setStyle(&style);
    widget.setPalette(darkPalette());
    widget.resize(120, 40);
    const QImage picture = widget.grab().toImage();
    double best = 0;
    for (int x = 0; x < width; ++x) {
      best = std::max(best, contrast(picture.pixelColor(x, picture.height() / 2),
                                     darkPalette().color(QPalette::Window)));
    }
    return best;
  }

  ReadableStyle style;
};

TEST_F(ReadableStyleTest, ShowsBoxesThatAreNotTickedInTheDark) {
  QCheckBox check;
  EXPECT_GE(contrastAtLeft(check, 8), enoughForFrames);
  QRadioButton radio;
  EXPECT_GE(contrastAtLeft(radio, 8), enoughForFrames);
}

TEST_F(ReadableStyleTest, ShowsEmptyFieldsInTheDark) {
  QLineEdit field;
  EXPECT_GE(contrastAtLeft(field, 3), enoughForFrames);
  QSpinBox number;
  EXPECT_GE(contrastAtLeft(number, 3), enoughForFrames);
  QTableView table;
  EXPECT_GE(contrastAtLeft(table, 3), enoughForFrames);
}

TEST_F(ReadableStyleTest, HasHintsThatAreReadInTheDark) {
  QPalette palette = darkPalette();
  style.polish(palette);
  EXPECT_GE(contrast(palette.color(QPalette::PlaceholderText), palette.color(QPalette::Base)),
            enoughForTexts);
  EXPECT_GE(contrast(palette.color(QPalette::Disabled, QPalette::ButtonText),
                     palette.color(QPalette::Button)),
            enoughForFrames);
}

TEST_F(ReadableStyleTest, HasEveryOtherRowReadInTheDark) {
  QPalette palette = darkPalette();
  style.polish(palette);
  EXPECT_GE(contrast(palette.color(QPalette::Text), palette.color(QPalette::AlternateBase)),
            enoughForTexts);
}

TEST_F(ReadableStyleTest, LeavesALightDesktopAsItIs) {
  const QPalette light(Qt::black, Qt::lightGray, Qt::white, Qt::black, Qt::gray, Qt::black,
                       Qt::white, Qt::white, QColor(239, 239, 239));
  QPalette palette = light;
  style.polish(palette);
  EXPECT_EQ(palette, light);
}

}  // namespace
}  // namespace quillo
