#pragma once

#include <array>

#include "platform/Image.h"

namespace quillo {

// Element 0 is for the status item, element 1 for the Dock tile.
using ImagePair = std::array<ImageRef, 2>;

// The pictures that the status item and the Dock tile show.
struct ThrobberImages {
  static constexpr std::size_t frameCount = 8;

  // Loads them in the order of the members. Any thread.
  static ThrobberImages load(ImageLoader& loader);

  ImagePair defaultImage;
  // Shown instead while the menu is open: while watching, and while idle.
  ImagePair altImage;
  ImagePair altImage2;
  ImagePair watchingImage;
  // The forms of the two that say: but not as well as it seems.
  ImagePair defaultAttentionImage;
  ImagePair watchingAttentionImage;
  // Frames 1 to 8, from index 0. The last one is in no animation.
  std::array<ImagePair, frameCount> frames;
};

}  // namespace quillo
