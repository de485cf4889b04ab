#pragma once

#include <string>

namespace quillo {

// Other applications of the desktop, by their reverse-domain identifiers. Main thread.
class ApplicationLauncher {
 public:
  virtual ~ApplicationLauncher() = default;
  // Whether the desktop knows an application of that identifier.
  virtual bool isInstalled(const std::string& identifier) = 0;
  // Asks the desktop to start the application and does not wait for it. False when it is unknown.
  virtual bool launchApplication(const std::string& identifier) = 0;
  // Whether the desktop has yet to say if it started the one that was launched last; until it has,
  // other ways to start it may still be tried here. Events have to be handled meanwhile.
  virtual bool isLaunching() = 0;
  // Whether the desktop said in the end that it could not start the one that was launched last, and
  // no other way was left.
  virtual bool launchFailed() = 0;
  // The identifier of the application that has the user's attention; empty when that cannot be
  // told.
  virtual std::string activeApplicationIdentifier() = 0;
};

}  // namespace quillo
