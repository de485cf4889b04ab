#pragma once

#include "companion/QuietSurroundings.h"
#include "platform/CompanionDesktop.h"
#include "posix/ThreadStarter.h"
#include "settings/TypedPreferences.h"

namespace quillo {

// What pages and commands share.
struct CompanionParts {
  explicit CompanionParts(const CompanionDesktop& services);

  ManualScanServices scanServices();

  const CompanionDesktop& desktop;
  DetachedThreads threads;
  TypedPreferences preferences;
};

}  // namespace quillo
