#pragma once

#include <QIcon>
#include <QImage>
#include <vector>

#include "platform/Image.h"

namespace quillo {

// One picture in several sizes.
class QtImage final : public Image {
 public:
  explicit QtImage(std::vector<QImage> sizes) : sizes_(std::move(sizes)) {}

  // Main thread, like everything of Qt that knows the screen; made at its first use.
  const QIcon& icon() const;
  // The icon behind any reference; an empty one for none. Main thread.
  static QIcon iconOf(const ImageRef& image);

 private:
  // Constant after construction.
  std::vector<QImage> sizes_;
  // Main thread only.
  mutable QIcon icon_;
};

}  // namespace quillo
