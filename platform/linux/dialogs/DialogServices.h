#pragma once

#include "platform/Image.h"
#include "platform/LocalizedStrings.h"
#include "platform/linux/dialogs/DialogPiles.h"
#include "platform/linux/services/QtModifierKeys.h"

namespace quillo {

// What the windows of dialogs use; outlives them all.
struct DialogServices {
  ImageLoader& imageLoader;
  LocalizedStrings& localizedStrings;
  QtModifierKeys& modifierKeys;
  DialogPiles& piles;
};

}  // namespace quillo
