#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/Platform.h"
#include "posix/Clock.h"

namespace quillo {

class Environment;
class QtApplication;

// Every service of a Linux desktop, made and connected with each other. Main thread.
class LinuxPlatform {
 public:
  // Must be made before any other thread is started. Throws PlatformException when a resource is
  // missing.
  LinuxPlatform(int& argc, char** argv);
  ~LinuxPlatform();

  // Returns true unless another agent of this user runs already.
  bool isFirstAgent() const;
  // Has that one show its window. Returns "", or why it does not.
  std::string showFirstAgent();
  const Platform& services() const;
  Clock& clock();
  // Runs the event loop until the program ends: `begin` is called as soon as it runs, `end` when
  // the program is asked to end. Returns the exit status.
  int run(std::function<void()> begin, std::function<void()> end);

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace quillo
