#pragma once

#include <optional>
#include <string>

#include "agent/Preferences.h"
#include "engine/ClamdLink.h"
#include "engine/DaemonStart.h"
#include "tests/fakes/agent/FakeClamdLinkOwner.h"
#include "tests/fakes/desktop/FakePlatform.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {

// The agent's preferences over a store and an engine of the test's own, whose daemon is said to
// run.
class PreferencesUnderTest {
 public:
  PreferencesUnderTest() {
    desktop.folders.home = "/home/anna";
    desktop.folders.temporary = folder.makeFolder("tmp");
    store().set("PathToClamav", engine());
    store().set("PathToUpdateLog", "/var/log/update.log");
    owner.root = engine();
  }

  FakePreferenceStore& store() { return desktop.preferenceStore; }
  FakeSystemLog& log() { return desktop.systemLog; }
  std::string engine() const { return folder.path() + "/engine"; }
  // What was read last.
  std::shared_ptr<const WatchSettings> settings() const { return preferences.settings(); }
  std::string scratch() const { return folder.path() + "/tmp/VantrelQuilloII"; }

  TemporaryFolder folder;
  FakePlatform desktop;
  ManualClock clock;
  FakeThreads threads;
  FakeClamdLinkOwner owner;
  std::optional<RunningDaemon> daemon = RunningDaemon{"/running/clamd", "/running/clamd.conf"};
  DaemonFinder findDaemon = [this] { return daemon; };
  ClamdLink link{owner,
                 {desktop.application, clock, desktop.localizedStrings, owner, desktop.systemLog,
                  threads, [this] { return findDaemon(); }}};
  DaemonStart daemonStart{link, desktop.systemLog};
  ScratchFolders scratchFolders{desktop.folders, desktop.systemLog};
  Preferences preferences{
      desktop.preferenceStore, desktop.preferences, desktop.systemLog, link, daemonStart,
      scratchFolders};
};

}  // namespace quillo
