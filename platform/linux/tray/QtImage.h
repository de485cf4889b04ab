#pragma once

#include <QIcon>
#include <QImage>
#include <map>
#include <string>
#include <vector>

#include "platform/Image.h"
#include "posix/Mutex.h"

namespace quillo {

// One picture in several sizes.
class QtImage final : public Image {
 public:
  static constexpr int everySize = 1 << 15;

  explicit QtImage(std::vector<QImage> sizes) : sizes_(std::move(sizes)) {}

  // Main thread, like everything of Qt that knows the screen; made at its first use. Of the sizes
  // above `greatest` pixels it has none: each is sent along whenever a window gets the icon.
  const QIcon& icon(int greatest = everySize) const;
  // Returns the icon behind any reference; an empty one for none. Main thread.
  static QIcon iconOf(const ImageRef& image, int greatest = everySize);

 private:
  // Constant after construction.
  std::vector<QImage> sizes_;
  // Main thread only.
  mutable std::map<int, QIcon> icons_;
};

// Pictures out of `<folder>/<size>/<name>.png`, in every size that is there; each is read once.
class QtImageLoader final : public ImageLoader {
 public:
  explicit QtImageLoader(std::string folder) : folder_(std::move(folder)) {}

  ImageRef imageNamed(const std::string& name) override;

 private:
  ImageRef read(const std::string& name) const;

  // Constant after construction.
  std::string folder_;

  Mutex mutex_;
  std::map<std::string, ImageRef> images_ QUILLO_GUARDED_BY(mutex_);
};

}  // namespace quillo
