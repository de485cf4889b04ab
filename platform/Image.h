#pragma once

#include <memory>
#include <string>

namespace quillo {

// A picture of the application, opaque to the core. Two references to the same picture are equal
// pointers.
class Image {
 public:
  virtual ~Image() = default;
};
using ImageRef = std::shared_ptr<const Image>;

class ImageLoader {
 public:
  virtual ~ImageLoader() = default;
  // Returns the picture of that name among the resources; null when there is none. Any thread.
  virtual ImageRef imageNamed(const std::string& name) = 0;
};

}  // namespace quillo
