#pragma once

#include <string>

namespace quillo {

// Other applications of the desktop, by their reverse-domain identifiers. Main thread.
class ApplicationLauncher {
 public:
  virtual ~ApplicationLauncher() = default;
  // Returns whether the desktop knows an application of that identifier.
  virtual bool isInstalled(const std::string& identifier) = 0;
  // Has the desktop start the application and does not wait. Returns false when it is unknown.
  virtual bool launchApplication(const std::string& identifier) = 0;
  // Returns true until the desktop has answered whether it started the application launched last.
  // Other ways to start it may be tried meanwhile, for which events have to be handled.
  virtual bool isLaunching() = 0;
  // Returns whether the application launched last could not be started in any way.
  virtual bool launchFailed() = 0;
  // Returns the identifier of the active application; "" when it is unknown.
  virtual std::string activeApplicationIdentifier() = 0;
};

}  // namespace quillo
