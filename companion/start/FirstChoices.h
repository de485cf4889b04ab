#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/LocalizedStrings.h"
#include "settings/FirstPreferences.h"

namespace quillo {

class Folders;
class PreferenceStore;

// What the first start asks of the program around it, and hands over to it. Main thread.
class FirstChoices {
 public:
  virtual ~FirstChoices() = default;
  // Returns folders that are there and worth guarding, the one for downloads first.
  virtual std::vector<std::string> suggestedFolders() = 0;
  // Returns the file for them where there are preferences already, which write() would leave alone;
  // "" where there are none.
  virtual std::string writtenBefore() = 0;
  // Makes what was chosen the preferences, and an engine where there is none; that takes seconds,
  // and the desktop stays alive. Returns what went wrong: nothing is changed then, but for an
  // engine that was made.
  virtual Wording write(const FirstChoice& choice) = 0;
};

struct FirstChoicesServices {
  Folders& folders;
  PreferenceStore& preferenceStore;
  // Makes an engine tree in that folder, and keeps the desktop alive meanwhile. Returns "", or why
  // there is none, in words for people.
  std::function<std::string(const std::string& engine)> makeEngine;
};

// The first preferences as a new file, of the template that the agent has as well. What is there
// already is never touched.
class FirstChoicesFile final : public FirstChoices {
 public:
  explicit FirstChoicesFile(FirstChoicesServices services) : services_(std::move(services)) {}

  std::vector<std::string> suggestedFolders() override;
  std::string writtenBefore() override;
  Wording write(const FirstChoice& choice) override;

 private:
  const FirstChoicesServices services_;
};

// Runs the tool that makes an engine tree and waits for it. Returns "", or the last line that it
// said. Any thread.
std::string makeEngineTree(const std::string& resourceFolder, const std::string& engine);

}  // namespace quillo
