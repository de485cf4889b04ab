#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/CompanionDesktop.h"
#include "platform/LocalizedStrings.h"
#include "platform/linux/session/CompanionObject.h"

namespace quillo {

class MainWindow;

// The services of a Linux desktop that the main application's window needs, and no others. Main
// thread.
class CompanionPlatform {
 public:
  // Must be made before any other thread is started.
  CompanionPlatform(int& argc, char** argv);
  ~CompanionPlatform();

  const CompanionDesktop& services() const;
  MainWindow& window();
  // Returns why there can be no window here; nothing where there can.
  std::optional<Wording> problem() const;
  // Returns true unless the main application runs in this session already.
  bool isFirst() const;
  // Asks that one instead, with what the desktop handed on with this start. Returns "", or why it
  // does not.
  std::string askFirst(CompanionRequest request);
  // Runs the event loop until the window is closed: `begin` is called as soon as it runs, and
  // `requested` for every request from elsewhere. Returns the exit status.
  int run(std::function<void()> begin, CompanionRequested requested);
  // Ends it again unless the window is shown within that time.
  void endUnlessShownWithin(int seconds);

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace quillo
