#include "platform/linux/companion/CommandPlatform.h"

#include <QCoreApplication>

#include "platform/linux/companion/CompanionBackend.h"
#include "platform/linux/companion/ConsoleApplication.h"

namespace quillo {

// In the order in which they need each other; destroyed in reverse.
struct CommandPlatform::Parts {
  CompanionLog log{false};
  // Qt keeps both.
  std::string name = "vantrel";
  char* words[2] = {name.data(), nullptr};
  int count = 1;
  QCoreApplication qt{count, words};
  ConsoleApplication application;
  CompanionBackend backend{log, application};
};

CommandPlatform::CommandPlatform() : parts_(std::make_unique<Parts>()) {}

CommandPlatform::~CommandPlatform() = default;

const CompanionDesktop& CommandPlatform::services() const { return parts_->backend.desktop; }

}  // namespace quillo
