#pragma once

#include <functional>
#include <string>

namespace quillo {

class Folders;
class SystemLog;
class TypedPreferences;

// The scan log, onto which this process's standard output and error are laid, and its rotation.
// Main thread.
class ScanLog {
 public:
  // `wait` does something that takes long and keeps the desktop alive meanwhile.
  ScanLog(Folders& folders, const TypedPreferences& preferences, SystemLog& log,
          std::function<void(const std::function<void()>&)> wait);

  std::string path() const;
  // Begins what this process logs with a line for people: what this is, for whom, where help is.
  void greet();
  // Lays standard error, then standard output onto the log, in append mode. When it cannot be
  // opened both stay as they are, and the system log says why.
  void logAllToScanLog();
  // Has the log rotated if it has grown too large, then opens it anew.
  void rotateLogFile();
  // The rotation's configuration (newsyslog.conf(5)): two lines, the second without a line end.
  std::string rotationConfiguration() const;

 private:
  void runRotation(const std::string& configurationPath);

  Folders& folders_;
  const TypedPreferences& preferences_;
  SystemLog& log_;
  const std::function<void(const std::function<void()>&)> wait_;
};

}  // namespace quillo
