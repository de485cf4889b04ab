#pragma once

#include <functional>
#include <string>
#include <vector>

#include "companion/PreferenceChanges.h"
#include "companion/PreferenceLists.h"
#include "companion/QuietSurroundings.h"
#include "platform/CompanionDesktop.h"
#include "posix/ThreadStarter.h"
#include "settings/PreferenceWriter.h"
#include "settings/TypedPreferences.h"

namespace quillo {

// What pages and commands share.
struct CompanionParts {
  explicit CompanionParts(const CompanionDesktop& services);

  ManualScanServices scanServices();

  const CompanionDesktop& desktop;
  DetachedThreads threads;
  TypedPreferences preferences;
  PreferenceWriter preferenceWriter;
  PreferenceChanges preferenceChanges;
  ChosenFolders chosenFolders;
  Exclusions exclusions;
  // Shows the page that scans, and scans these; set by whoever has that page.
  std::function<void(const std::vector<std::string>& paths)> scan =
      [](const std::vector<std::string>&) {};
};

}  // namespace quillo
