#include "platform/linux/QtImage.h"

namespace quillo {

const QIcon& QtImage::icon() const {
  if (icon_.isNull()) {
    for (const QImage& size : sizes_) {
      icon_.addPixmap(QPixmap::fromImage(size));
    }
  }
  return icon_;
}

QIcon QtImage::iconOf(const ImageRef& image) {
  const auto* picture = dynamic_cast<const QtImage*>(image.get());
  return picture ? picture->icon() : QIcon();
}

}  // namespace quillo
