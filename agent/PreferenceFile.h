#pragma once

#include <optional>
#include <string>

namespace quillo {

class Application;
class Folders;
class PreferenceStore;
class SystemLog;
class Workspace;

struct PreferenceFileServices {
  Application& application;
  Folders& folders;
  PreferenceStore& preferenceStore;
  SystemLog& systemLog;
  Workspace& workspace;
};

// The user's own file of preferences, for whoever has no main application to edit it with. Main
// thread.
class PreferenceFile {
 public:
  explicit PreferenceFile(const PreferenceFileServices& services) : services_(services) {}

  std::string path() const;
  // Returns the line for a terminal that makes an engine where the preferences say that it is, or
  // where the first ones will say so.
  std::string engineCommand(const std::optional<std::string>& chosenEngine) const;
  // Opens the file in the desktop's editor. Where there is none, a first one is written before: in
  // force as it stands, or, where other files decide already, with every line a comment. Beeps,
  // with a line in the log, when it cannot be.
  void open();

 private:
  // Returns nothing without the template.
  std::optional<std::string> first() const;

  const PreferenceFileServices services_;
};

}  // namespace quillo
