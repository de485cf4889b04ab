#include "menu/ThrobberImages.h"

#include <string>

namespace quillo {

ThrobberImages ThrobberImages::load(ImageLoader& loader) {
  const auto pair = [&loader](const std::string& status, const std::string& dock) {
    ImageRef first = loader.imageNamed(status);
    return ImagePair{std::move(first), loader.imageNamed(dock)};
  };
  ThrobberImages images;
  images.defaultImage = pair("default", "dock_default");
  images.altImage = pair("alt", "dock_alt");
  // The idle highlight has no Dock image of its own.
  images.altImage2 = pair("alt2", "dock_alt");
  images.watchingImage = pair("watching", "dock_watching");
  for (std::size_t frame = 0; frame < frameCount; ++frame) {
    const std::string name = "scanning" + std::to_string(frame + 1);
    images.frames[frame] = pair(name, "dock_" + name);
  }
  images.defaultAttentionImage = pair("default_attention", "dock_default_attention");
  images.watchingAttentionImage = pair("watching_attention", "dock_watching_attention");
  return images;
}

}  // namespace quillo
