#pragma once

#include <memory>

#include "platform/CompanionDesktop.h"

namespace quillo {

// The services of the main application for a command, which has neither a window nor, maybe, a
// display or a bus. Main thread.
class CommandPlatform {
 public:
  CommandPlatform();
  ~CommandPlatform();

  const CompanionDesktop& services() const;

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace quillo
