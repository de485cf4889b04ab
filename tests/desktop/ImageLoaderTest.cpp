#include <gtest/gtest.h>

#include <QImage>
#include <set>
#include <string>

#include "platform/linux/tray/QtImage.h"

namespace quillo {
namespace {

const std::string folder = QUILLO_BINARY_DIR "/resources/images";

std::vector<std::string> statusNames() {
  std::vector<std::string> names = {"default", "alt", "alt2", "watching"};
  for (int i = 1; i <= 8; ++i) {
    names.push_back("scanning" + std::to_string(i));
  }
  return names;
}

TEST(ImageLoader, HasEveryStatusImageInTheSizesOfPanels) {
  QtImageLoader loader(folder);
  for (const std::string& name : statusNames()) {
    const QIcon icon = QtImage::iconOf(loader.imageNamed(name));
    for (const int size : {16, 22, 24, 32, 44, 48}) {
      EXPECT_TRUE(icon.availableSizes().contains(QSize(size, size))) << name << " " << size;
    }
  }
}

TEST(ImageLoader, HasADockFormOfEveryImageThatTheDockShows) {
  QtImageLoader loader(folder);
  for (const std::string& name : statusNames()) {
    if (name != "alt2") {
      EXPECT_TRUE(loader.imageNamed("dock_" + name)) << name;
    }
  }
}

TEST(ImageLoader, GivesOnePictureForOneName) {
  QtImageLoader loader(folder);
  EXPECT_EQ(loader.imageNamed("watching"), loader.imageNamed("watching"));
  EXPECT_NE(loader.imageNamed("watching"), loader.imageNamed("default"));
  EXPECT_EQ(loader.imageNamed("no such picture"), nullptr);
}

// For those who see no colours, and on both kinds of panel.
TEST(StatusImages, DifferInGreyAndStandOutOnLightAndDarkPanels) {
  for (const QColor panel : {QColor("#f6f6f6"), QColor("#2b2b2b")}) {
    std::vector<QImage> greys;
    for (const char* name : {"default", "watching", "scanning4"}) {
      const QImage picture(QString::fromStdString(folder + "/22/" + name + ".png"));
      ASSERT_FALSE(picture.isNull()) << name;
      int standsOut = 0;
      for (int y = 0; y < 22; ++y) {
        for (int x = 0; x < 22; ++x) {
          const QColor pixel = picture.pixelColor(x, y);
          standsOut +=
              pixel.alpha() > 200 && std::abs(qGray(pixel.rgb()) - qGray(panel.rgb())) > 80;
        }
      }
      EXPECT_GT(standsOut, 40) << name << " on " << panel.name().toStdString();
      greys.push_back(picture.convertToFormat(QImage::Format_Grayscale8));
    }
    EXPECT_NE(greys[0], greys[1]);
    EXPECT_NE(greys[1], greys[2]);
    EXPECT_NE(greys[0], greys[2]);
  }
}

}  // namespace
}  // namespace quillo
