#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "companion/settings/GuardNote.h"
#include "companion/settings/NewStart.h"
#include "companion/settings/PreferenceChanges.h"
#include "platform/Page.h"
#include "settings/PreferenceTable.h"

namespace quillo {

class Folders;
class LocalizedStrings;
class TypedPreferences;
class Workspace;

// The page "settings": every preference but the two lists, which are the page "folders"'. What is
// changed is written at once; what cannot be written goes back to what is in force. Each control
// has a label, its name with "Note" behind it, that names the file which decides where that is not
// the user's own. Main thread.
class SettingsPage {
 public:
  struct Services {
    PreferenceChanges& changes;
    const TypedPreferences& preferences;
    AgentLink& agent;
    DistributedNotificationCenter& distributedNotificationCenter;
    Folders& folders;
    LocalizedStrings& localizedStrings;
    Workspace& workspace;
    unsigned int processors = 1;  // of this machine
  };

  SettingsPage(Page& page, MainWindow& window, const Services& services);

  // Reads everything anew: what was changed by hand is seen. To be called when the page is shown.
  void show();
  // To be called whenever what the agent says is another.
  void agentChanged();

 private:
  void connect();
  void connectPaths();
  void list();
  void listAction();
  void listChoices();
  void listPaths();
  void listKept();
  void showSource(const std::string& widget, const std::vector<std::string>& keys);
  void showFileState();
  void showNewStart();

  void setCheck(std::size_t index);
  void chooseAction();
  void writeAction(std::size_t choice);
  void setMultiscan();
  void setDockIcon();
  void setLogSize();
  void setQuarantineFolder(const std::string& path);
  // Has it done at once if nothing speaks against that folder, else once its user agrees.
  void askAboutQuarantine(const std::string& path, std::function<void()> take);
  void writeQuarantineFolder(const std::string& path);
  void setEngine(const std::string& path);
  void setPath(const Preference<std::string>& preference, const std::string& path);
  void chooseFolder(const char* title, std::function<void(const std::string&)> chosen);
  void askAndRepair();

  void report(const Wording& words);
  void say(const Wording& words);
  std::string text(const std::string& key) const;
  std::string abbreviated(const std::string& path) const;

  Page& page_;
  MainWindow& window_;
  const Services services_;
  GuardNote guardNote_;
  NewStart newStart_;
};

}  // namespace quillo
