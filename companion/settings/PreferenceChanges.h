#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/LocalizedStrings.h"
#include "settings/PreferenceWriter.h"

namespace quillo {

class AgentLink;
class DistributedNotificationCenter;
class PreferenceStore;

// Changes of the preferences as the pages make them: written into the user's own file, in force at
// once, and followed by the request to the agent to start watching anew, unless its user had it
// stop. Main thread.
class PreferenceChanges {
 public:
  // The page that shows what is changed.
  enum class Of { settings, folders };
  struct Services {
    PreferenceStore& preferenceStore;  // as the agent reads it, its own domain first
    PreferenceWriter& writer;
    DistributedNotificationCenter& distributedNotificationCenter;
    AgentLink& agent;
  };

  explicit PreferenceChanges(const Services& services) : services_(services) {}

  // Makes a change. Returns what went wrong, in words for the user; nothing when nothing did.
  Wording apply(const PreferenceWriter::Change& change, Of page = Of::settings);
  // Makes a change of one key, which may be another one's in the file by now.
  Wording set(const std::string& key, const PreferenceValue& value);
  Wording remove(const std::string& key);
  // Returns, once, that the file into which the last change was made had been changed by somebody
  // else as well, and holds both. Nothing where it had not.
  Wording takeNotice();
  // Returns true when undo() takes back a change of that page.
  bool canUndo(Of page) const { return services_.writer.canUndo() && last_ == page; }
  Wording undo();

  // Reads everything anew and calls the observers, if the file was changed by somebody else since
  // it was read or written here last. Returns whether it was.
  bool lookAgain();
  // Returns why the user's file cannot be read or written, in words for the user; for one that is
  // no TOML the line as well. Nothing when it can.
  Wording problem();
  // Returns true when that can be mended by repair().
  bool canRepair() const { return canRepair_; }
  // Returns what was done: where the old file lies now, or why nothing was done.
  Wording repair();

  // Returns the file that decides about that key in place of the user's own; "" when that one
  // decides, or would.
  std::string fileAbove(const std::string& key) const;
  // Returns the file below the user's own, such as the machine's, from which the value of that key
  // comes now; "" when it comes from there or from nowhere.
  std::string fileBelow(const std::string& key) const;
  // Returns what holds now, whichever file says it.
  std::optional<PreferenceValue> inForce(const std::string& key) const;
  const std::string& ownFile() const { return services_.writer.path(); }

  // Has `changed` called after every change, also one by hand that was noticed.
  void observe(std::function<void()> changed) { observers_.push_back(std::move(changed)); }

 private:
  void takeEffect();
  void callObservers();
  bool decidesAboveOwn(const std::string& file) const;

  const Services services_;
  bool canRepair_ = false;
  bool wasMerged_ = false;
  Of last_ = Of::settings;
  std::vector<std::function<void()>> observers_;
};

// Returns true when the agent runs and does not watch, for its user had it stop.
bool wasStoppedByItsUser(const AgentLink& agent);

// Returns what went wrong with the file of that name; nothing when nothing did.
Wording wordingOf(const PreferenceWriter::Outcome& outcome, const std::string& file);

}  // namespace quillo
