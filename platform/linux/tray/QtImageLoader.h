#pragma once

#include <map>
#include <string>

#include "platform/Image.h"
#include "posix/Mutex.h"

namespace quillo {

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
