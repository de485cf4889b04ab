#pragma once

namespace quillo {

class Application;
class Authorization;
class Clock;
class Folders;
class LocalizedStrings;
class NameWatch;
class SystemLog;
class TrashFolders;
class TypedPreferences;

// The services that the watchers use. All of them outlive the watchers.
struct WatcherServices {
  Application& application;
  Authorization& authorization;
  Clock& clock;
  Folders& folders;
  LocalizedStrings& localizedStrings;
  NameWatch& nameWatch;
  const TypedPreferences& preferences;
  SystemLog& systemLog;
  TrashFolders& trashFolders;
};

}  // namespace quillo
