#pragma once

#include <functional>
#include <string>
#include <utility>

#include "platform/LocalizedStrings.h"

namespace quillo {

class DistributedNotificationCenter;
class Folders;
class PreferenceChanges;

// Makes an engine of what is installed, for a user whose preferences name none or the one that is
// made here. Main thread.
class EngineSetup {
 public:
  struct Services {
    Folders& folders;
    PreferenceChanges& changes;
    DistributedNotificationCenter& notifications;
    // Makes an engine tree in that folder, and keeps the desktop alive meanwhile. Returns "", or
    // why there is none, in words for people.
    std::function<std::string(const std::string& engine)> makeEngine;
  };

  explicit EngineSetup(Services services) : services_(std::move(services)) {}

  // Makes it, has the preferences name it and the agent watch anew; that takes seconds. Returns
  // what went wrong: the preferences are as they were then.
  Wording setUp();

 private:
  std::string textOf(const std::string& key) const;

  const Services services_;
};

}  // namespace quillo
