#pragma once

#include "agent/DefinitionUpdates.h"
#include "agent/Health.h"
#include "agent/HistoryObserver.h"
#include "agent/Links.h"
#include "agent/MainApplication.h"
#include "agent/MainThreadRequests.h"
#include "agent/NoEngineWindow.h"
#include "agent/Notifications.h"
#include "agent/PlannedScanNotice.h"
#include "agent/PreferenceFile.h"
#include "agent/Preferences.h"
#include "agent/ProgressLog.h"
#include "agent/QuarantineRecheck.h"
#include "agent/RecentTotals.h"
#include "agent/ScanLog.h"
#include "agent/ScannerCount.h"
#include "agent/StatusBoard.h"
#include "agent/StatusReport.h"
#include "agent/TrayHint.h"
#include "agent/WatchList.h"
#include "agent/Watching.h"
#include "engine/ClamdLink.h"
#include "engine/DaemonStart.h"
#include "history/HistoryWriter.h"
#include "menu/Throbber.h"
#include "platform/Platform.h"
#include "scanning/AbortedScans.h"
#include "scanning/Dispatcher.h"
#include "scanning/EngineRun.h"
#include "scanning/LimitNotice.h"
#include "scanning/PatientScanner.h"
#include "scanning/PutBackFiles.h"
#include "scanning/ScanParameters.h"
#include "scanning/ScannerOwner.h"
#include "scanning/UnscannedFiles.h"
#include "settings/TypedPreferences.h"
#include "watchers/FSEventWatcher.h"
#include "watchers/NameWatcher.h"

namespace quillo {

class Clock;
class ThreadStarter;

// What the agent stands on: the desktop, its user's preferences, time and threads. All of it
// outlives the agent.
struct AgentServices {
  const Platform& platform;
  const TypedPreferences& preferences;
  Clock& clock;
  ThreadStarter& threads;
  DaemonFinder findDaemon = findRunningDaemon;
  MarkReader isMarked = isProcessMarked;
};

// The workers and parts of the agent, in the order in which they are made. They live as long as it
// does. What they do is theirs; this only says who is given what.
struct AgentParts {
  AgentParts(const AgentServices& given, Throbber& menu)
      : AgentParts(given, given.platform, menu) {}

  // Constant after construction.
  const AgentServices services;
  Throbber& mainMenu;

  // Own synchronisation.
  RunningScanners runningScanners;
  PutBackFiles putBackFiles;
  ProgressLog progressLog;
  ReportedFiles reportedFiles;
  AbortedScans abortedScans;
  ScannerCount scannerCount;
  StatusBoard statusBoard;
  Notifications notifications;
  MenuForScanners menuForScanners;
  DialogList dialogList;
  ScannerLink scannerLink;
  WatcherLink watcherLink;
  EngineLink engineLink;
  MenuLink menuLink;
  RecentTotals recentTotals;
  HistoryWriter history;
  HistoryObserver historyObserver;
  ScanObservers scanObservers;
  GuardLink guardLink;
  UnscannedFiles unscannedFiles;
  const ScannerServices scannerServices;
  Dispatcher theDispatcher;
  DispatcherIntake intake;
  const WatcherServices watcherServices;
  PatientScanner firstPatientScanner;
  PatientScanner secondPatientScanner;
  FSEventWatcher gfsLogger;
  NameWatcher nameWatcher;
  ClamdLink clamdLink;

  // Main thread, but for what their headers say.
  MainThreadRequests requests;
  DaemonStart daemonStart;
  ScratchFolders scratchFolders;
  Preferences preferences;
  PreferenceFile preferenceFile;
  NoEngineWindow noEngineWindow;
  DefinitionsWarning definitionsWarning;
  ScanParameters scanParameters;
  WatchList watchList;
  DefinitionUpdates definitionUpdates;
  ScanLog scanLog;
  MainApplication mainApplication;
  DockWindow dockWindow;
  TrayHint trayHint;
  FolderOpener folderOpener;
  Watching watching;
  QuarantineRecheck quarantineRecheck;
  PlannedScanNotice plannedScanNotice;
  Health health;  // asks others of these
  StatusReport statusReport;

 private:
  AgentParts(const AgentServices& given, const Platform& desktop, Throbber& menu);
};

}  // namespace quillo
