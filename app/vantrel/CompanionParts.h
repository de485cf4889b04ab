#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "companion/definitions/DefinitionUpdate.h"
#include "companion/doctor/Finding.h"
#include "companion/folders/Explanation.h"
#include "companion/quarantine/QuarantineServices.h"
#include "companion/results/HistoryCounts.h"
#include "companion/scan/AllowedByHand.h"
#include "companion/scan/KeptScans.h"
#include "companion/scan/QuietSurroundings.h"
#include "companion/settings/PreferenceChanges.h"
#include "companion/settings/PreferenceLists.h"
#include "history/HistoryWriter.h"
#include "platform/CompanionDesktop.h"
#include "posix/ThreadStarter.h"
#include "scanning/PutBackFiles.h"
#include "settings/PreferenceWriter.h"
#include "settings/TypedPreferences.h"

namespace quillo {

// Sent when another program than the agent has entered scans in the history.
inline constexpr const char* historyHasChanged = "VantrelHistoryHasChanged";

// What pages and commands share.
struct CompanionParts {
  explicit CompanionParts(const CompanionDesktop& services);

  ~CompanionParts();
  CompanionParts(const CompanionParts&) = delete;
  CompanionParts& operator=(const CompanionParts&) = delete;

  ManualScanServices scanServices();
  ExplanationServices explanationServices();
  QuarantineServices quarantineServices();
  // As they are for this look: the preferences have been read for it. Main thread.
  DoctorServices doctorServices();
  // Makes an engine tree in that folder; takes seconds, in which the desktop stays alive. Returns
  // "", or why there is none. Main thread.
  std::string makeEngine(const std::string& engine);
  // Keeps scans of that kind in the history, which is written from now on until the end. Throws
  // std::system_error when the system has no thread for that.
  KeptScans& keepScans(ScanSource source);
  // Has it entered in the history; without a thread for that it is not.
  void enter(HistoryChange change);
  // Has what was found a moment ago entered, too; waits some seconds for that at most, and lets the
  // window know if there is one. Returns false while the thread that does it still runs, which
  // needs this object.
  bool endHistory();

  // Has historyChanged() called, if there are any. Any thread.
  void entered(std::size_t changes);

  const CompanionDesktop& desktop;
  DetachedThreads threads;
  TypedPreferences preferences;
  PreferenceWriter preferenceWriter;
  PreferenceChanges preferenceChanges;
  ChosenFolders chosenFolders;
  Exclusions exclusions;
  PutBackFiles putBackFiles;
  AllowedByHand allowedFinds;
  HistoryWriter historyWriter;
  bool isHistoryWritten = false;  // from now on until the end
  std::vector<std::unique_ptr<KeptScans>> keptScans;
  KeptMoves keptMoves;
  HistoryCounts historyCounts;
  DefinitionUpdate definitionUpdate;
  // Called when this program has entered something in the history; main thread.
  std::function<void()> historyChanged = [] {};
  // Shows the page that scans, and scans these; set by whoever has that page.
  std::function<void(const std::vector<std::string>& paths)> scan =
      [](const std::vector<std::string>&) {};
  // Selects that file on the page of the quarantine; set by that page.
  std::function<void(const std::string& path)> selectInQuarantine = [](const std::string&) {};
};

}  // namespace quillo
