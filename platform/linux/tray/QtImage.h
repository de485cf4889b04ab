#pragma once

#include <QIcon>
#include <QImage>
#include <map>
#include <vector>

#include "platform/Image.h"

namespace quillo {

// One picture in several sizes.
class QtImage final : public Image {
 public:
  static constexpr int everySize = 1 << 15;

  explicit QtImage(std::vector<QImage> sizes) : sizes_(std::move(sizes)) {}

  // Main thread, like everything of Qt that knows the screen; made at its first use. Of the sizes
  // above `greatest` pixels it has none: each is sent along whenever a window gets the icon.
  const QIcon& icon(int greatest = everySize) const;
  // The icon behind any reference; an empty one for none. Main thread.
  static QIcon iconOf(const ImageRef& image, int greatest = everySize);

 private:
  // Constant after construction.
  std::vector<QImage> sizes_;
  // Main thread only.
  mutable std::map<int, QIcon> icons_;
};

}  // namespace quillo
