// The real miner of Tracker over a real folder.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/stat.h>

#include <QDBusServiceWatcher>
#include <algorithm>
#include <ctime>

#include "platform/linux/index/TrackerQuery.h"
#include "platform/linux/session/BusDaemon.h"
#include "posix/ChildProcess.h"
#include "tests/desktop/support/QtEvents.h"
#include "tests/desktop/support/bus/FakeBusObject.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/fakes/watching/FakeWatcherOwner.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Waiting.h"
#include "watchers/SpotlightWatcher.h"

namespace quillo {
namespace {

constexpr char miner[] = "/usr/libexec/tracker-miner-fs-3";
constexpr char everythingButTheLog[] =
    "(kMDItemFSName != '*/Library/Logs/VantrelQuillo-scan.log'c)";

// Tracker's file miner in a home of its own, where it indexes one folder and nothing else. It ends
// with this object, and with the test.
class RealMiner {
 public:
  RealMiner() {
    mkdir(folder().c_str(), 0700);
    mkdir((home_.path() + "/tmp").c_str(), 0700);
    home_.write(".config/glib-2.0/settings/keyfile",
                "[org/freedesktop/tracker/miner/files]\n"
                "index-recursive-directories=['" +
                    folder() +
                    "']\n"
                    "index-single-directories=@as []\n"
                    "initial-sleep=0\n");
    LaunchRequest request{"/usr/bin/setpriv", {"--pdeathsig", "KILL", miner}};
    request.environment = {
        "PATH=/usr/bin:/bin", "HOME=" + home_.path(),
        "XDG_CONFIG_HOME=" + home_.path() + "/.config",
        "XDG_CACHE_HOME=" + home_.path() + "/.cache", "XDG_DATA_HOME=" + home_.path() + "/.local",
        "XDG_DATA_DIRS=" + home_.path() + "/share", "XDG_RUNTIME_DIR=" + home_.path() + "/tmp",
        // What lies in the folder for temporary files is never indexed.
        "TMPDIR=" + home_.path() + "/tmp", "GSETTINGS_BACKEND=keyfile",
        "GSETTINGS_SCHEMA_DIR=/usr/share/glib-2.0/schemas", "GIO_USE_VFS=local",
        "GIO_USE_VOLUME_MONITOR=unix", "DBUS_SESSION_BUS_ADDRESS=" + PrivateSession::busAddress(),
        "DBUS_SYSTEM_BUS_ADDRESS=unix:path=" + home_.path() + "/no-system-bus"};
    process_ = std::make_unique<ChildProcess>(request);
    takeItsShare();
  }

  std::string folder() const { return home_.path() + "/folder"; }
  std::string path(const std::string& name) const { return folder() + "/" + name; }
  std::string write(const std::string& name, const std::string& text) const {
    return home_.write("folder/" + name, text);
  }
  // As if the file had been changed and opened then: seconds before now.
  void setDates(const std::string& name, int opened, int changed) const {
    const std::time_t now = std::time(nullptr);
    const timespec times[] = {{now - opened, 0}, {now - changed, 0}};
    utimensat(AT_FDCWD, path(name).c_str(), times, 0);
  }

 private:
  // It contents itself with the time that nobody wants (SCHED_IDLE, sched(7)), which is none for
  // minutes where the machine is busy: it is given as much as the test, as soon as it has done so.
  void takeItsShare() const {
    const pid_t process = process_->processIdentifier();
    awaitThat([process] { return sched_getscheduler(process) == SCHED_IDLE; });
    const sched_param usual = {};
    sched_setscheduler(process, SCHED_OTHER, &usual);
  }

  TemporaryFolder home_;
  std::unique_ptr<ChildProcess> process_;
};

class ReadyMenu final : public WatcherMenu {
 public:
  Mutex& monitor() override { return monitor_; }
  void setReady() override { isReady = true; }
  void folderMissingPanic() override { FAIL() << "the folder is there"; }
  bool isReady = false;

 private:
  Mutex monitor_;
};

class TrackerMiner : public testing::Test {
 protected:
  TrackerMiner() {
    bool isUp = false;
    const QString name = QStringLiteral("org.freedesktop.Tracker3.Miner.Files");
    QDBusServiceWatcher watcher(name, *bus, QDBusServiceWatcher::WatchForRegistration);
    QObject::connect(&watcher, &QDBusServiceWatcher::serviceRegistered, [&isUp] { isUp = true; });
    isUp = BusDaemon(*bus).hasOwner(name);
    EXPECT_TRUE(waitUntil([&isUp] { return isUp; })) << "the miner does not start";
    query->addObserver(metadataQueryDidUpdate, [this](const MetadataNotification& reported) {
      added.insert(added.end(), reported.addedItems.begin(), reported.addedItems.end());
      changed.insert(changed.end(), reported.changedItems.begin(), reported.changedItems.end());
    });
    query->setSearchScope(miner_.folder());
  }
  bool gather() {
    query->execute(MetadataQuery::wantsUpdates);
    return waitUntil([this] { return query->isGatheringComplete(); });
  }
  static bool holds(const std::vector<MetadataItem>& items, const std::string& path) {
    return std::any_of(items.begin(), items.end(),
                       [&path](const MetadataItem& item) { return item.path == path; });
  }
  bool waitForAdded(const std::string& name) {
    return waitUntil([&] { return holds(added, miner_.path(name)); });
  }
  // Waits for a change of the file with those dates, in seconds between opened and changed.
  bool waitForChanged(const std::string& name, int difference) {
    return waitUntil([&] {
      return std::any_of(changed.begin(), changed.end(), [&](const MetadataItem& item) {
        return item.path == miner_.path(name) && item.lastUsedDate && item.contentChangeDate &&
               *item.lastUsedDate - *item.contentChangeDate == std::chrono::seconds(difference);
      });
    });
  }

  RealMiner miner_;
  TestBus bus;
  std::vector<std::string> problems;
  TrackerQueries queries{*bus, [this](const std::string& text) { problems.push_back(text); }};
  std::unique_ptr<MetadataQuery> query = queries.create(everythingButTheLog);
  std::vector<MetadataItem> added;
  std::vector<MetadataItem> changed;
};

TEST_F(TrackerMiner, ReportsNewChangedAndOpenedFilesWithTheirDates) {
  ASSERT_TRUE(gather());
  miner_.write("new", "contents");
  miner_.write("\xC3\xA4 b%'\"c", "contents");
  ASSERT_TRUE(waitForAdded("new"));
  ASSERT_TRUE(waitForAdded("\xC3\xA4 b%'\"c"));
  miner_.write("new", "other contents");
  miner_.setDates("new", 60, 20);
  EXPECT_TRUE(waitForChanged("new", -40));
  miner_.setDates("new", 10, 50);
  EXPECT_TRUE(waitForChanged("new", 40));
  EXPECT_TRUE(problems.empty());
}

TEST_F(TrackerMiner, ReportsNothingOfTheScanLogAndOfOtherFolders) {
  query->setSearchScope(miner_.path("inner"));
  ASSERT_TRUE(gather());
  miner_.write("outer", "contents");
  miner_.write("inner/Library/Logs/VantrelQuillo-scan.log", "a line");
  miner_.write("inner/Library/LOGS/vantrelquillo-scan.log", "a line");
  miner_.write("inner/sentinel", "contents");
  ASSERT_TRUE(waitForAdded("inner/sentinel"));
  miner_.write("inner/Library/Logs/VantrelQuillo-scan.log", "a line, and another one");
  miner_.write("inner/second", "contents");
  ASSERT_TRUE(waitForAdded("inner/second"));
  miner_.write("inner/third", "contents");
  ASSERT_TRUE(waitForAdded("inner/third"));
  for (const std::vector<MetadataItem>& reported : {added, changed}) {
    EXPECT_FALSE(holds(reported, miner_.path("outer")));
    EXPECT_FALSE(holds(reported, miner_.path("inner/Library/Logs/VantrelQuillo-scan.log")));
    EXPECT_FALSE(holds(reported, miner_.path("inner/Library/LOGS/vantrelquillo-scan.log")));
  }
}

TEST_F(TrackerMiner, ReportsNothingOnceItIsStopped) {
  ASSERT_TRUE(gather());
  miner_.write("first", "contents");
  ASSERT_TRUE(waitForAdded("first"));
  query->stop();
  miner_.write("second", "contents");
  // Another query sees it, and by then this one would have.
  const auto other = queries.create(everythingButTheLog);
  bool isSeen = false;
  other->addObserver(metadataQueryDidUpdate, [&](const MetadataNotification& reported) {
    isSeen = isSeen || holds(reported.addedItems, miner_.path("third"));
  });
  other->setSearchScope(miner_.folder());
  other->execute(MetadataQuery::wantsUpdates);
  ASSERT_TRUE(waitUntil([&] { return other->isGatheringComplete(); }));
  miner_.write("third", "contents");
  EXPECT_TRUE(waitUntil([&] { return isSeen; }));
  EXPECT_FALSE(holds(added, miner_.path("second")));
  EXPECT_FALSE(holds(added, miner_.path("third")));
}

TEST_F(TrackerMiner, FeedsAWatcherThatHandsOnWhatIsNewOrChanged) {
  FakeSystemLog systemLog;
  FakeWatcherOwner owner;
  ReadyMenu menu;
  SpotlightWatcher watcher(queries, systemLog);
  watcher.setMenuAndParamsAndController({&menu}, owner);
  watcher.addWatcher(miner_.folder());
  ASSERT_TRUE(waitUntil([&] { return menu.isReady; }));
  const auto timesHandedOver = [&](const std::string& name) {
    const auto paths = owner.paths();
    return std::count(paths.begin(), paths.end(), miner_.path(name));
  };
  const auto waitFor = [&](const std::string& name, std::ptrdiff_t times) {
    return waitUntil([&] { return timesHandedOver(name) >= times; });
  };

  miner_.write("changed", "contents");
  miner_.write("opened", "contents");
  ASSERT_TRUE(waitFor("changed", 1));
  ASSERT_TRUE(waitFor("opened", 1));
  const std::ptrdiff_t before = timesHandedOver("changed");
  const std::ptrdiff_t openedBefore = timesHandedOver("opened");
  miner_.setDates("opened", 10, 50);
  miner_.write("changed", "other contents");
  miner_.setDates("changed", 50, 10);
  ASSERT_TRUE(waitFor("changed", before + 1));
  miner_.write("sentinel", "contents");
  ASSERT_TRUE(waitFor("sentinel", 1));
  EXPECT_EQ(timesHandedOver("opened"), openedBefore);
  watcher.stopWatcher();
  EXPECT_TRUE(systemLog.lines().empty());
}

}  // namespace
}  // namespace quillo
