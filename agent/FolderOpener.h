#pragma once

#include <string>

namespace quillo {

class Application;
class ThreadStarter;
class Workspace;

// Opens folders with the desktop's "/usr/bin/open"; where that cannot be run, with the desktop
// itself. Main thread.
class FolderOpener {
 public:
  FolderOpener(Application& application, Workspace& workspace, ThreadStarter& threads)
      : application_(application), workspace_(workspace), threads_(threads) {}

  // Opens the folder and returns when the opener has ended; the desktop stays alive meanwhile.
  void openAndWait(const std::string& folder);
  // Opens it and returns at once. Throws std::system_error when the system has no thread that could
  // wait for the opener.
  void open(const std::string& folder);

 private:
  Application& application_;
  Workspace& workspace_;
  ThreadStarter& threads_;
};

}  // namespace quillo
