#include "companion/settings/SettingsPage.h"

#include <utility>

#include "platform/Folders.h"
#include "platform/LocalizedStrings.h"
#include "platform/PreferenceStore.h"
#include "platform/Workspace.h"
#include "posix/Accounts.h"
#include "posix/FileFacts.h"
#include "posix/Text.h"
#include "settings/TypedPreferences.h"

namespace quillo {
namespace {

struct Check {
  const char* widget;
  const Preference<bool>& preference;
};

const Check checks[] = {
    {"suppressInfoDialogs", key::suppressInfoDialogs},
    {"scanVolumes", key::quilloScanVolumes},
    {"catchUp", key::quilloCatchUp},
    {"scanEmail", key::scanEmail},
    {"updateDefsOnLaunch", key::updateDefsOnLaunch},
    {"needsExit1", key::needsExit1FreshclamFlag},
    {"logProgress", key::quilloLogProgress},
};

// In the order in which the choice `infectedFileAction` has them.
enum class Action : std::size_t { leave, quarantine, trash };

constexpr const char* standardQuarantine = "~/Quarantine/";

}  // namespace

SettingsPage::SettingsPage(Page& page, MainWindow& window, const Services& services)
    : page_(page),
      window_(window),
      services_(services),
      guardNote_(page, services.agent, services.distributedNotificationCenter,
                 services.localizedStrings),
      newStart_(services.agent, services.distributedNotificationCenter, services.preferences,
                [this] { guardNote_.startAgent(); }) {
  connect();
  connectPaths();
  services_.changes.observe([this] { list(); });
  window_.onShown("settings", [this] { show(); });
}

std::string SettingsPage::text(const std::string& key) const {
  return services_.localizedStrings.stringForKey(key, "");
}

std::string SettingsPage::abbreviated(const std::string& path) const {
  return abbreviatingWithTilde(path, services_.folders.homeFolder());
}

void SettingsPage::connect() {
  for (std::size_t index = 0; index < std::size(checks); ++index) {
    page_.onAction(checks[index].widget, [this, index] { setCheck(index); });
  }
  page_.onAction("infectedFileAction", [this] { chooseAction(); });
  page_.onAction("multiscan", [this] { setMultiscan(); });
  page_.onAction("showDockIcon", [this] { setDockIcon(); });
  page_.onAction("logSize", [this] { setLogSize(); });
  page_.onAction("undo", [this] { report(services_.changes.undo()); });
  page_.onAction("repair", [this] { askAndRepair(); });
  page_.onAction("openFile", [this] {
    const std::string& file = services_.changes.ownFile();
    if (!services_.workspace.openFile(file)) {
      say({"SETTINGS_NO_EDITOR", {file}});
    }
  });
  page_.onAction("startAnew", [this] {
    newStart_.begin();
    showNewStart();
  });
}

void SettingsPage::connectPaths() {
  const auto field = [this](const char* widget) {
    return expandingTilde(page_.text(widget), services_.folders.homeFolder());
  };
  page_.onAction("quarantineFolder",
                 [this, field] { setQuarantineFolder(field("quarantineFolder")); });
  page_.onAction("chooseQuarantineFolder", [this] {
    chooseFolder("SETTINGS_CHOOSE_QUARANTINE",
                 [this](const std::string& path) { setQuarantineFolder(path); });
  });
  page_.onAction("pathToClamav", [this, field] { setEngine(field("pathToClamav")); });
  page_.onAction("choosePathToClamav", [this] {
    chooseFolder("SETTINGS_CHOOSE_ENGINE", [this](const std::string& path) { setEngine(path); });
  });
  page_.onAction("pathToUpdateLog",
                 [this, field] { setPath(key::pathToUpdateLog, field("pathToUpdateLog")); });
}

void SettingsPage::chooseFolder(const char* title, std::function<void(const std::string&)> chosen) {
  window_.chooseFolders(text(title), services_.folders.homeFolder(),
                        [chosen = std::move(chosen)](const std::vector<std::string>& paths) {
                          if (!paths.empty()) {
                            chosen(paths.front());
                          }
                        });
}

void SettingsPage::show() {
  const bool isOther = services_.changes.lookAgain();
  list();
  say(isOther ? Wording{"SETTINGS_CHANGED_BY_HAND", {services_.changes.ownFile()}} : Wording());
}

void SettingsPage::agentChanged() {
  newStart_.agentChanged();
  showNewStart();
}

void SettingsPage::list() {
  for (const Check& check : checks) {
    page_.setChecked(check.widget, services_.preferences.value(check.preference));
    showSource(check.widget, {check.preference.name});
  }
  listAction();
  listChoices();
  listPaths();
  listKept();
  showFileState();
}

void SettingsPage::listAction() {
  Action action = Action::leave;
  action = services_.preferences.value(key::quilloTrashFiles) ? Action::trash : action;
  action = services_.preferences.value(key::quilloQuarantineFiles) ? Action::quarantine : action;
  page_.setChoices("infectedFileAction",
                   {text("SETTINGS_LEAVE"), text("SETTINGS_QUARANTINE"), text("SETTINGS_TRASH")},
                   static_cast<std::size_t>(action));
  showSource("infectedFileAction", {key::quilloQuarantineFiles.name, key::quilloTrashFiles.name});
  page_.setText("infectedFileActionMeaning",
                text(action == Action::leave        ? "SETTINGS_LEAVE_MEANS"
                     : action == Action::quarantine ? "SETTINGS_QUARANTINE_MEANS"
                                                    : "SETTINGS_TRASH_MEANS"));
}

void SettingsPage::listChoices() {
  const bool isMulti = services_.preferences.value(key::multiscan) == "yes";
  const std::string processors = std::to_string(services_.processors);
  page_.setChoices(
      "multiscan",
      {text("SETTINGS_ONE_PROCESSOR"),
       Wording{"SETTINGS_ALL_PROCESSORS", {processors}}.in(services_.localizedStrings)},
      isMulti ? 1 : 0);
  showSource("multiscan", {key::multiscan.name});
  const std::string dock = lowercased(services_.preferences.value(key::showDockIcon).value_or(""));
  std::vector<std::string> choices = {text("SETTINGS_ICON"), text("SETTINGS_ICON_AND_WINDOW")};
  std::size_t chosen = wantsWindow(services_.preferences) ? 1 : 0;
  // Only where the agent's own file says so is there no icon.
  if (dock == "true" && !services_.changes.fileAbove(key::showDockIcon.name).empty()) {
    choices.push_back(text("SETTINGS_WINDOW"));
    chosen = 2;
  }
  page_.setChoices("showDockIcon", choices, chosen);
  showSource("showDockIcon", {key::showDockIcon.name});
  page_.setNumber("logSize", services_.preferences.value(key::rotateScanlogWhenSizeReaches));
  showSource("logSize", {key::rotateScanlogWhenSizeReaches.name});
}

void SettingsPage::listPaths() {
  const auto shown = [this](const std::optional<std::string>& path) {
    return abbreviated(path.value_or(""));
  };
  page_.setText("quarantineFolder", shown(services_.preferences.value(key::quarantineFolder)));
  page_.setText("pathToClamav", shown(services_.preferences.value(key::pathToClamav)));
  page_.setText("pathToUpdateLog", shown(services_.preferences.value(key::pathToUpdateLog)));
  showSource("quarantineFolder", {key::quarantineFolder.name});
  showSource("pathToClamav", {key::pathToClamav.name});
  showSource("pathToUpdateLog", {key::pathToUpdateLog.name});
  page_.setEnabled("chooseQuarantineFolder",
                   services_.changes.fileAbove(key::quarantineFolder.name).empty());
  page_.setEnabled("choosePathToClamav",
                   services_.changes.fileAbove(key::pathToClamav.name).empty());
}

void SettingsPage::listKept() {
  std::string names;
  for (const Preference<Presence>& kept : {key::runningOnServer, key::exclude, key::include}) {
    if (services_.preferences.value(kept)) {
      names += (names.empty() ? "" : ", ") + std::string(kept.name);
    }
  }
  page_.setText("kept", names.empty()
                            ? text("SETTINGS_KEPT_NONE")
                            : Wording{"SETTINGS_KEPT", {names}}.in(services_.localizedStrings));
}

void SettingsPage::showSource(const std::string& widget, const std::vector<std::string>& keys) {
  Wording note;
  bool isEditable = true;
  for (const std::string& key : keys) {
    if (const std::string above = services_.changes.fileAbove(key); !above.empty()) {
      note = {"SETTINGS_DECIDED_ABOVE", {above}};
      isEditable = false;
    } else if (const std::string below = services_.changes.fileBelow(key);
               !below.empty() && note.empty()) {
      note = {"SETTINGS_DECIDED_BELOW", {below}};
    }
  }
  page_.setEnabled(widget, isEditable);
  page_.setText(widget + "Note", note.in(services_.localizedStrings));
  page_.setVisible(widget + "Note", !note.empty());
}

void SettingsPage::showFileState() {
  const Wording problem = services_.changes.problem();
  page_.setText("problem", problem.in(services_.localizedStrings));
  page_.setVisible("problem", !problem.empty());
  page_.setVisible("repair", services_.changes.canRepair());
  page_.setEnabled("controls", problem.empty());
  page_.setText("file", abbreviated(services_.changes.ownFile()));
  page_.setEnabled("undo", services_.changes.canUndo(PreferenceChanges::Of::settings));
  showNewStart();
}

void SettingsPage::showNewStart() {
  guardNote_.show();
  page_.setVisible("intro", !guardNote_.isShown());
  const bool isOffered = !guardNote_.isShown() && newStart_.isNeeded();
  page_.setVisible("newStartNote", isOffered || newStart_.isUnderWay());
  page_.setText("newStartNote", text(newStart_.isUnderWay() ? "SETTINGS_NEW_START_UNDER_WAY"
                                                            : "SETTINGS_NEW_START"));
  page_.setVisible("startAnew", isOffered && !newStart_.isUnderWay());
}

void SettingsPage::setCheck(std::size_t index) {
  const Check& check = checks[index];
  const bool isOn = page_.isChecked(check.widget);
  report(services_.changes.set(check.preference.name, {isOn}));
}

void SettingsPage::chooseAction() {
  const std::size_t choice = page_.choice("infectedFileAction");
  const bool isQuarantine = static_cast<Action>(choice) == Action::quarantine;
  if (isQuarantine && !services_.preferences.value(key::quarantineFolder)) {
    askAboutQuarantine(expandingTilde(standardQuarantine, services_.folders.homeFolder()),
                       [this, choice] { writeAction(choice); });
  } else {
    writeAction(choice);
  }
}

void SettingsPage::writeAction(std::size_t choice) {
  const auto wanted = static_cast<Action>(choice);
  const bool hasFolder = services_.preferences.value(key::quarantineFolder).has_value();
  const Wording problem = services_.changes.apply([&](TomlEditor& editor) {
    const auto set = [&](const Preference<bool>& preference, bool value) {
      const auto before = editor.values().find(preference.name);
      const bool isThere = before != editor.values().end();
      if (isThere || value || services_.preferences.value(preference)) {
        editor.set(preference.name, {value});
      }
    };
    set(key::quilloQuarantineFiles, wanted == Action::quarantine);
    set(key::quilloTrashFiles, wanted == Action::trash);
    if (wanted == Action::quarantine && !hasFolder) {
      editor.set(key::quarantineFolder.name, {std::string(standardQuarantine)});
    }
  });
  report(problem);
}

void SettingsPage::setMultiscan() {
  const bool isMulti = page_.choice("multiscan") == 1;
  report(services_.changes.set(key::multiscan.name, {std::string(isMulti ? "yes" : "no")}));
}

void SettingsPage::setDockIcon() {
  const bool isBoth = page_.choice("showDockIcon") == 1;
  report(services_.changes.set(key::showDockIcon.name, {std::string(isBoth ? "both" : "off")}));
}

void SettingsPage::setLogSize() {
  report(services_.changes.set(key::rotateScanlogWhenSizeReaches.name, {page_.number("logSize")}));
}

void SettingsPage::setEngine(const std::string& path) {
  const bool isAnother = path != services_.preferences.value(key::pathToClamav).value_or("");
  if (isAnother && path.starts_with('/') && !fileExists(path + "/bin/clamdscan")) {
    report({"SETTINGS_NO_ENGINE", {path}});
    return;
  }
  setPath(key::pathToClamav, path);
}

void SettingsPage::setPath(const Preference<std::string>& preference, const std::string& path) {
  if (path == services_.preferences.value(preference).value_or("")) {
    return;
  }
  if (!path.starts_with('/') || !isValidUtf8(path)) {
    report({isValidUtf8(path) ? "SETTINGS_WHOLE_PATH" : "SETTINGS_NO_TEXT", {path}});
    return;
  }
  // As it stands: the agent expands no "~" there.
  report(services_.changes.set(preference.name, {path}));
}

void SettingsPage::askAndRepair() {
  Question question;
  question.text = text("SETTINGS_ASK_REPAIR");
  question.detail = services_.changes.problem().in(services_.localizedStrings);
  question.buttons = {text("SETTINGS_REPAIR_NOW"), text("SETTINGS_CANCEL")};
  window_.ask(question, [this](std::size_t button) {
    if (button == 0) {
      report(services_.changes.repair());
    }
  });
}

void SettingsPage::report(const Wording& words) {
  const Wording notice = services_.changes.takeNotice();
  say(words.empty() ? notice : words);
  // What could not be written goes back to what is in force.
  list();
}

void SettingsPage::say(const Wording& words) {
  const std::string notice = words.in(services_.localizedStrings);
  page_.setText("notice", notice);
  page_.setVisible("notice", !notice.empty());
}

}  // namespace quillo
