#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <QFileSystemWatcher>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "platform/linux/services/DesktopWorkspace.h"
#include "posix/Text.h"
#include "tests/desktop/support/QtEvents.h"
#include "tests/desktop/support/bus/FakeBusObject.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

std::string record(const std::string& name) {
  return PrivateSession::folder() + "/records/" + name;
}

void write(const std::string& path, const std::string& text) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path) << text;
}

// Programs that note how they were started, and the desktop files that make them known. Laid out
// before GIO first looks.
class Applications : public testing::Environment {
 public:
  void SetUp() override {
    if (std::getenv("QUILLO_TEST_SESSION") == nullptr) {
      return;
    }
    const std::string home = std::getenv("HOME");
    const std::string applications = home + "/.local/share/applications/";
    const std::string program = PrivateSession::folder() + "/recorder";
    std::filesystem::create_directories(PrivateSession::folder() + "/records");
    write(program, "#!/bin/sh\nrecord=\"" + PrivateSession::folder() +
                       "/records/$1\"\nshift\noutput=$(readlink /proc/$$/fd/1)\nprintf '%s\\n' "
                       "\"$@\" \"$output\" > "
                       "\"$record.new\"\nmv \"$record.new\" \"$record\"\n");
    chmod(program.c_str(), 0755);
    // No shell: it unblocks what it finds blocked.
    const std::string signals = PrivateSession::folder() + "/signals";
    const std::string signalsRecord = PrivateSession::folder() + "/records/signals";
    write(signals,
          "#!/usr/bin/awk -f\nBEGIN {\n  while ((getline line < \"/proc/self/status\") > 0)"
          " if (line ~ /^Sig(Blk|Ign)/) print line > \"" +
              signalsRecord + ".new\"\n  close(\"" + signalsRecord + ".new\")\n  system(\"mv " +
              signalsRecord + ".new " + signalsRecord + "\")\n}\n");
    chmod(signals.c_str(), 0755);
    write(applications + "org.vantrel.Signals.desktop",
          "[Desktop Entry]\nType=Application\nName=Signals\nExec=" + signals + "\n");
    std::filesystem::create_directories(PrivateSession::folder() + "/bin");
    std::filesystem::create_symlink(signals, PrivateSession::folder() + "/bin/xdg-open");
    write(applications + "opener.desktop",
          "[Desktop Entry]\nType=Application\nName=Opener\nExec=" + program + " opener %u\n");
    write(applications + "org.vantrel.TestApp.desktop",
          "[Desktop Entry]\nType=Application\nName=App\nExec=" + program + " app started\n");
    write(home + "/.config/mimeapps.list",
          "[Default Applications]\ntext/plain=opener.desktop\ninode/directory=opener.desktop\n"
          "application/octet-stream=opener.desktop\n");
  }
};

const testing::Environment* const applications =
    testing::AddGlobalTestEnvironment(new Applications());

class DesktopFiles : public testing::Test {
 protected:
  DesktopFiles() {
    std::filesystem::remove(record("opener"));
    std::filesystem::remove(record("app"));
    std::filesystem::remove(record("signals"));
    watcher.addPath(QString::fromStdString(PrivateSession::folder() + "/records"));
  }
  // The lines that the recorder left, as soon as it has.
  std::vector<std::string> recorded(const std::string& name) {
    EXPECT_TRUE(waitUntil([&] { return std::filesystem::exists(record(name)); }));
    const std::string text = TemporaryFolder::read(record(name));
    const auto lines = split(trimmed(text), '\n');
    return {lines.begin(), lines.end()};
  }

  QFileSystemWatcher watcher;
  TestBus bus;
  TemporaryFolder folder;
  std::vector<std::string> problems;
};

TEST_F(DesktopFiles, AreOpenedByTheApplicationForTheirTypeWhoseWordsAreDropped) {
  DesktopWorkspace workspace(*bus);
  const std::string path = folder.write("a log & 100%.txt", "text\n");
  EXPECT_TRUE(workspace.openFile(path));
  EXPECT_EQ(recorded("opener"), (std::vector<std::string>{path, "/dev/null"}));
}

TEST_F(DesktopFiles, AreNotOpenedWhenTheyAreNotThere) {
  DesktopWorkspace workspace(*bus);
  EXPECT_FALSE(workspace.openFile(folder.path() + "/none"));
  std::filesystem::create_symlink("/no/such", folder.path() + "/dangling");
  EXPECT_FALSE(workspace.openFile(folder.path() + "/dangling"));
  EXPECT_FALSE(workspace.selectFile(folder.path() + "/none"));
}

TEST_F(DesktopFiles, AreShownSelectedByTheFileManager) {
  TestBus managerBus;
  FakeBusObject manager(managerBus, "/org/freedesktop/FileManager1");
  manager.answerWith("ShowItems", {});
  ASSERT_TRUE(manager.own("org.freedesktop.FileManager1"));
  DesktopWorkspace workspace(*bus);
  const std::string path = folder.write("x y", "");
  EXPECT_TRUE(workspace.selectFile(path));
  ASSERT_TRUE(waitUntil([&] { return manager.callsOf("ShowItems").size() == 1; }));
  const QVariantList arguments = manager.callsOf("ShowItems")[0].arguments();
  EXPECT_EQ(arguments.at(0).toStringList(),
            QStringList(QString::fromStdString("file://" + folder.path() + "/x%20y")));
}

TEST_F(DesktopFiles, HaveTheirFolderOpenedWhereNoFileManagerSelects) {
  const std::string path = folder.write("x", "");
  DesktopWorkspace workspace(*bus);
  EXPECT_TRUE(workspace.selectFile(path));
  EXPECT_EQ(recorded("opener")[0], folder.path());
  std::filesystem::remove(record("opener"));
  DesktopWorkspace busless(QDBusConnection("there is no such connection"));
  EXPECT_TRUE(busless.selectFile(path));
  EXPECT_EQ(recorded("opener")[0], folder.path());
}

TEST_F(DesktopFiles, GoToTheTrashFromWhichTheyCanBeRestored) {
  DesktopWorkspace workspace(*bus);
  folder.write("ä %.exe", "x");
  folder.write("keep", "x");
  EXPECT_EQ(workspace.recycle(folder.path(), {"ä %.exe"}), "");
  EXPECT_FALSE(std::filesystem::exists(folder.path() + "/ä %.exe"));
  EXPECT_TRUE(std::filesystem::exists(folder.path() + "/keep"));
  const std::string trash = std::string(std::getenv("HOME")) + "/.local/share/Trash";
  EXPECT_EQ(TemporaryFolder::read(trash + "/files/ä %.exe"), "x");
  EXPECT_NE(TemporaryFolder::read(trash + "/info/ä %.exe.trashinfo")
                .find("Path=" + folder.path() + "/%C3%A4%20%25.exe\n"),
            std::string::npos);
}

TEST_F(DesktopFiles, ThatAreGoneAlreadyAreReportedAsNotMoved) {
  DesktopWorkspace workspace(*bus);
  const std::string path = folder.write("there", "x");
  EXPECT_NE(workspace.recycle(folder.path(), {"gone already", "there"}), "");
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(DesktopFiles, OutsideTheNamedFolderAreNotRecycled) {
  DesktopWorkspace workspace(*bus);
  folder.write("outside", "x");
  std::filesystem::create_directory(folder.path() + "/in");
  EXPECT_NE(workspace.recycle(folder.path() + "/in", {"../outside", "..", ""}), "");
  EXPECT_TRUE(std::filesystem::exists(folder.path() + "/outside"));
  EXPECT_TRUE(std::filesystem::exists(folder.path() + "/in"));
}

TEST_F(DesktopFiles, ThatCannotBeMovedAreReported) {
  DesktopWorkspace workspace(*bus);
  EXPECT_NE(workspace.recycle("/proc/self", {"status"}), "");
}

TEST_F(DesktopFiles, StartAnApplicationThatNobodyHasToWaitFor) {
  DesktopApplicationLauncher launcher(*bus, nullptr);
  EXPECT_FALSE(launcher.launchApplication("org.vantrel.Unknown"));
  EXPECT_TRUE(launcher.launchApplication("org.vantrel.TestApp"));
  EXPECT_EQ(recorded("app"), (std::vector<std::string>{"started", "/dev/null"}));
  siginfo_t ended = {};
  EXPECT_EQ(waitid(P_ALL, 0, &ended, WEXITED | WNOHANG | WNOWAIT), 0);
  EXPECT_EQ(ended.si_pid, 0) << "a zombie was left";
}

// As the agent's main thread does with its own.
class BlockedSignals {
 public:
  BlockedSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals, &before_);
    pipe_ = signal(SIGPIPE, SIG_IGN);
  }
  ~BlockedSignals() {
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    signal(SIGPIPE, pipe_);
  }

 private:
  sigset_t before_;
  sighandler_t pipe_;
};

const std::vector<std::string> cleanSignals = {"SigBlk:\t0000000000000000",
                                               "SigIgn:\t0000000000000000"};

TEST_F(DesktopFiles, StartAnApplicationThatCanBeEndedByEverySignal) {
  const BlockedSignals blocked;
  DesktopApplicationLauncher launcher(*bus, nullptr);
  EXPECT_TRUE(launcher.launchApplication("org.vantrel.Signals"));
  EXPECT_EQ(recorded("signals"), cleanSignals);
}

TEST_F(DesktopFiles, WithoutAnApplicationOfTheirOwnAreOpenedWithCleanSignals) {
  const BlockedSignals blocked;
  const std::string path = std::getenv("PATH");
  setenv("PATH", (PrivateSession::folder() + "/bin:" + path).c_str(), 1);
  DesktopWorkspace workspace(*bus);
  ASSERT_EQ(mkfifo((folder.path() + "/pipe").c_str(), 0600), 0);
  EXPECT_TRUE(workspace.openFile(folder.path() + "/pipe"));
  setenv("PATH", path.c_str(), 1);
  EXPECT_EQ(recorded("signals"), cleanSignals);
}

TEST_F(DesktopFiles, AreNotNeededForAnApplicationOnTheBus) {
  TestBus applicationBus;
  FakeBusObject application(applicationBus, "/org/vantrel/TestApp");
  application.answerWith("Activate", {});
  ASSERT_TRUE(application.own("org.vantrel.TestApp"));
  DesktopApplicationLauncher launcher(*bus, nullptr);
  EXPECT_TRUE(launcher.launchApplication("org.vantrel.TestApp"));
  ASSERT_TRUE(waitUntil([&] { return application.callsOf("Activate").size() == 1; }));
  EXPECT_EQ(launcher.activeApplicationIdentifier(), "org.vantrel.TestApp");
  application.disown("org.vantrel.TestApp");
  EXPECT_EQ(launcher.activeApplicationIdentifier(), "");
}

TEST_F(DesktopFiles, AreNotNeededForAPageOfAnApplicationOnTheBus) {
  TestBus applicationBus;
  FakeBusObject application(applicationBus, "/org/vantrel/TestApp");
  application.answerWith("ActivateAction", {});
  ASSERT_TRUE(application.own("org.vantrel.TestApp"));
  DesktopApplicationLauncher launcher(*bus, nullptr);
  EXPECT_TRUE(launcher.openPage("org.vantrel.TestApp", "folders"));
  ASSERT_TRUE(waitUntil([&] { return !launcher.isLaunching(); }));
  const QDBusMessage call = application.callsOf("ActivateAction").at(0);
  EXPECT_EQ(call.signature(), "sava{sv}");
  EXPECT_EQ(call.arguments().at(0), "folders");
  EXPECT_FALSE(launcher.openPage("org.vantrel.Unknown", "folders"));
}

// As on Wayland, where nobody reports which window is in use.
TEST_F(DesktopFiles, StartAnApplicationThatIsActiveOnceItHasItsNameOnTheBus) {
  TestBus applicationBus;
  FakeBusObject application(applicationBus, "/org/vantrel/TestApp");
  DesktopApplicationLauncher launcher(*bus, nullptr);
  EXPECT_TRUE(launcher.launchApplication("org.vantrel.TestApp"));
  EXPECT_EQ(launcher.activeApplicationIdentifier(), "");
  ASSERT_TRUE(application.own("org.vantrel.TestApp"));
  EXPECT_EQ(launcher.activeApplicationIdentifier(), "org.vantrel.TestApp");
}

TEST_F(DesktopFiles, StandInForAnApplicationThatCannotBeActivated) {
  TestBus applicationBus;
  FakeBusObject application(applicationBus, "/org/vantrel/TestApp");
  application.answer("Activate", [](const QDBusMessage& call) {
    return call.createErrorReply(QDBusError::UnknownInterface, "no");
  });
  ASSERT_TRUE(application.own("org.vantrel.TestApp"));
  DesktopApplicationLauncher launcher(*bus, nullptr);
  EXPECT_FALSE(launcher.isLaunching());
  EXPECT_TRUE(launcher.launchApplication("org.vantrel.TestApp"));
  EXPECT_TRUE(launcher.isLaunching());
  ASSERT_TRUE(waitUntil([&] { return !launcher.isLaunching(); }));
  EXPECT_FALSE(launcher.launchFailed());
  EXPECT_EQ(recorded("app")[0], "started");
}

TEST_F(DesktopFiles, MissingBehindABrokenServiceIsReported) {
  TestBus applicationBus;
  FakeBusObject application(applicationBus, "/org/vantrel/Broken");
  application.answer("Activate", [](const QDBusMessage& call) {
    return call.createErrorReply(QDBusError::Failed, "broken");
  });
  ASSERT_TRUE(application.own("org.vantrel.Broken"));
  DesktopApplicationLauncher launcher(
      *bus, [&](const std::string& problem) { problems.push_back(problem); });
  EXPECT_TRUE(launcher.launchApplication("org.vantrel.Broken"));
  ASSERT_TRUE(waitUntil([&] { return problems.size() == 1; }));
  EXPECT_EQ(problems[0], "org.vantrel.Broken could not be started: broken");
  EXPECT_TRUE(launcher.launchFailed());
  launcher.launchApplication("org.vantrel.TestApp");
  EXPECT_FALSE(launcher.launchFailed());
}

TEST(ApplicationWindowsTest, AreKnownByNameClassOrProcess) {
  const ApplicationWindows app{"org.vantrel.Vantrel", "vantrel-settings", {4711}};
  EXPECT_TRUE(app.own({{"ORG.vantrel.vantrel"}, 0}));
  EXPECT_TRUE(app.own({{"other", "/usr/share/applications/org.vantrel.Vantrel.desktop"}, 0}));
  EXPECT_TRUE(app.own({{"x", "Vantrel-Settings"}, 0}));
  EXPECT_TRUE(app.own({{"x"}, 4711}));
  EXPECT_FALSE(app.own({{"x"}, 4712}));
  EXPECT_FALSE(app.own({{"org.vantrel.VantrelQuillo"}, 0}));
  EXPECT_FALSE((ApplicationWindows{"a", "", {0}}.own({{""}, 0})));
}

}  // namespace
}  // namespace quillo
