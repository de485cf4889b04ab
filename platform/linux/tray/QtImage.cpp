#include "platform/linux/tray/QtImage.h"

namespace quillo {

const QIcon& QtImage::icon(int greatest) const {
  QIcon& icon = icons_[greatest];
  if (icon.isNull()) {
    for (const QImage& size : sizes_) {
      if (size.width() <= greatest) {
        icon.addPixmap(QPixmap::fromImage(size));
      }
    }
  }
  return icon;
}

QIcon QtImage::iconOf(const ImageRef& image, int greatest) {
  const auto* picture = dynamic_cast<const QtImage*>(image.get());
  return picture ? picture->icon(greatest) : QIcon();
}

}  // namespace quillo
