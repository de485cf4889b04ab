#pragma once

#include <functional>
#include <string>
#include <utility>

namespace quillo {

class LocalizedStrings;
class Notifier;

// Notifies of what a planned scan came to: the program that scanned has ended by then, and nobody
// would hear its button. Main thread.
class PlannedScanNotice {
 public:
  struct Services {
    LocalizedStrings& localizedStrings;
    Notifier& notifier;
    // Shows the results: the notification's button.
    std::function<void()> showResults;
  };

  explicit PlannedScanNotice(Services services) : services_(std::move(services)) {}

  // `report` is a title and, on the lines below, what there is to say; of any sender, so it is
  // shown and decides nothing. An empty one is not shown.
  void show(const std::string& report, bool isFind);

 private:
  const Services services_;
};

}  // namespace quillo
