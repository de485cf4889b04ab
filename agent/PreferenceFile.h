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
  std::string engineFolder() const;
  // Returns nothing without the template.
  std::optional<std::string> first() const;

  const PreferenceFileServices services_;
};

// What goes into the places of the template.
struct FirstPreferences {
  std::string engine;
  std::string updateLog;
  std::string folder;
};
// Returns the template with its places filled in, as text of TOML. Pure.
std::string filledIn(std::string text, const FirstPreferences& values);
// Returns the text with every line made a comment. Pure.
std::string commentedOut(const std::string& text);

}  // namespace quillo
