#pragma once

#include <string>
#include <vector>

namespace quillo {

// Files as the desktop handles them. Main thread.
class Workspace {
 public:
  virtual ~Workspace() = default;
  // Opens the file or folder in the application for it. Returns false when there is none or the
  // file does not exist.
  virtual bool openFile(const std::string& path) = 0;
  // Has the file manager show the file selected. Returns false when it cannot be asked.
  virtual bool selectFile(const std::string& path) = 0;
  // Moves the named files of a folder, in bytes, to the desktop's trash. Returns "" when all were
  // moved, else why one could not be, also because it is gone already: words for people, in the
  // desktop's language.
  virtual std::string recycle(const std::string& sourceFolder,
                              const std::vector<std::string>& names) = 0;
};

// Other applications of the desktop, by their reverse-domain identifiers. Main thread.
class ApplicationLauncher {
 public:
  virtual ~ApplicationLauncher() = default;
  // Returns true when the desktop knows an application of that identifier.
  virtual bool isInstalled(const std::string& identifier) = 0;
  // Has the desktop start the application and does not wait. Returns false when it is unknown.
  virtual bool launchApplication(const std::string& identifier) = 0;
  // Has the application show the page of that name, and start for it where it does not run; does
  // not wait. Returns false when it is unknown.
  virtual bool openPage(const std::string& identifier, const std::string& page) = 0;
  // Returns true until the desktop has said if it started the application launched last.
  // Other ways to start it may be tried meanwhile, for which events have to be handled.
  virtual bool isLaunching() = 0;
  // Returns true when the application launched last could not be started in any way.
  virtual bool launchFailed() = 0;
  // Returns the identifier of the active application; "" when it is unknown.
  virtual std::string activeApplicationIdentifier() = 0;
};

}  // namespace quillo
