#include "platform/linux/tray/QtImage.h"

#include <QDir>
#include <QImage>
#include <memory>
#include <utility>
#include <vector>

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

ImageRef QtImageLoader::imageNamed(const std::string& name) {
  MutexLock lock(mutex_);
  const auto known = images_.find(name);
  if (known != images_.end()) {
    return known->second;
  }
  return images_[name] = read(name);
}

ImageRef QtImageLoader::read(const std::string& name) const {
  const QDir folder(QString::fromStdString(folder_));
  const QString file = QString::fromStdString(name) + ".png";
  std::vector<QImage> sizes;
  for (const QString& size : folder.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
    const QString path = folder.filePath(size + "/" + file);
    QImage image;
    if (QFile::exists(path) && image.load(path)) {
      sizes.push_back(std::move(image));
    }
  }
  return sizes.empty() ? nullptr : std::make_shared<QtImage>(std::move(sizes));
}

}  // namespace quillo
