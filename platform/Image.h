#pragma once

#include <memory>
#include <string>

namespace quillo {

// A picture of the application. What it looks like is the backend's business; two references to the
// same picture are equal pointers.
class Image {
 public:
  virtual ~Image() = default;
};
using ImageRef = std::shared_ptr<const Image>;

class ImageLoader {
 public:
  virtual ~ImageLoader() = default;
  // The picture of that name among the resources; empty when there is none. Any thread.
  virtual ImageRef imageNamed(const std::string& name) = 0;
};

}  // namespace quillo
