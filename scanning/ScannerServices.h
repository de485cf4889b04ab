#pragma once

namespace quillo {

class AbortedScans;
class Application;
class Clock;
class FileDepartures;
class Folders;
class InterfaceLoader;
class LocalizedStrings;
class ModifierKeys;
class Notifier;
class PipelineObserver;
class PutBackFiles;
class ReportedFiles;
class RunningScanners;
class ScanObserver;
class TypedPreferences;
class SystemLog;
class Workspace;

// The services that the scanners and their dialogs use. All of them outlive the scanners.
struct ScannerServices {
  Application& application;
  Clock& clock;
  Folders& folders;
  InterfaceLoader& interfaceLoader;
  LocalizedStrings& localizedStrings;
  ModifierKeys& modifierKeys;
  Notifier& notifier;
  const TypedPreferences& preferences;
  SystemLog& systemLog;
  Workspace& workspace;
  // Null where found files are not followed up.
  FileDepartures* fileDepartures = nullptr;
  PutBackFiles* putBackFiles = nullptr;
  // Each null when nobody looks on, or remembers.
  PipelineObserver* pipelineObserver = nullptr;
  ScanObserver* scanObserver = nullptr;
  RunningScanners* runningScanners = nullptr;
  ReportedFiles* reportedFiles = nullptr;
  AbortedScans* abortedScans = nullptr;
};

}  // namespace quillo
