#pragma once

#include <functional>
#include <string>
#include <vector>

#include "quarantine/QuarantineCheck.h"
#include "quarantine/QuarantineStore.h"

namespace quillo {

class Application;
class Clock;
class LocalizedStrings;
class ThreadStarter;

// What the page and the command of the quarantine work with. The functions are called on any
// thread.
struct QuarantineServices {
  Application& application;
  Clock& clock;
  LocalizedStrings& localizedStrings;
  ThreadStarter& threads;
  // The preference's; "" where there is none.
  std::function<std::string()> folder;
  // When the definitions in use were built, as far as that is known.
  std::function<QuarantineRecord::Time()> definitions;
  // Has the tree's scanner look at them again (checkQuarantine()).
  std::function<QuarantineCheckResult(const QuarantineStore& store,
                                      const std::vector<QuarantinedFile>& files,
                                      QuarantineRecord::Time definitions)>
      check;
  // Keeps what is not to be taken again (PutBackFiles::allow()).
  QuarantineStore::Allow allow;
};

}  // namespace quillo
