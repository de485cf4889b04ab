#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <memory>
#include <set>

#include "posix/ChildProcess.h"
#include "posix/Text.h"
#include "tests/root/support/engine/WrapperOnClamd.h"
#include "tests/root/support/world/FilesAndMounts.h"
#include "tools/clamdscan/ClientWrapper.h"

namespace quillo::wrapper {
namespace {

using namespace std::chrono_literals;
using tests::eicar;
using tests::PrivateClamd;

TEST_F(WrapperOnClamd, ReportsCleanAndInfectedFilesAsTheClientDoes) {
  startDaemon();
  const std::string clean = files.write("clean");
  const std::string infected = files.write("infected", eicar());
  EXPECT_EQ(scan({clean, infected}), clean + ": OK\n" + found(infected));
  EXPECT_EQ(status, 1);
  EXPECT_EQ(scan({clean}), clean + ": OK\n");
  EXPECT_EQ(status, 0);
}

TEST_F(WrapperOnClamd, ScansWhatALinkLeadsTo) {
  startDaemon();
  const std::string target = files.write("deep/infected", eicar());
  const std::string link = files.link("link", "deep/infected");
  const std::string way = files.link("way", "deep");
  const std::string leads = ": leads to '" + target + "'\n";
  EXPECT_EQ(scan({link, way + "/infected"}),
            found(link) + link + leads + found(way + "/infected") + way + "/infected" + leads);
  EXPECT_EQ(scan({way}), found(way + "/infected") + way + "/infected" + leads);
}

TEST_F(WrapperOnClamd, SaysThatABrokenLinkIsNotScanned) {
  startDaemon();
  const std::string dangling = files.link("dangling", "nothing");
  const std::string loop = files.link("loop", "loop");
  EXPECT_EQ(scan({dangling, loop}), dangling + ": Not scanned: dangling symbolic link\n" + loop +
                                        ": Not scanned: symbolic link that leads to itself\n");
  EXPECT_EQ(status, 2);
}

TEST_F(WrapperOnClamd, ScansFilesWithPathsOfEveryLength) {
  startDaemon();
  std::vector<std::string> paths;
  std::string expected;
  for (std::size_t length : {900U, 999U, 1000U, 1001U, 1022U, 1023U, 1024U, 1100U, 2000U, 4000U}) {
    std::string name;
    while (files.at(name).size() + 201 < length) {
      name +=
          std::string(std::min<std::size_t>(200, length - files.at(name).size() - 3), 'd') + "/";
    }
    name += std::string(length - files.at(name).size(), 'f');
    paths.push_back(files.write(name, eicar()));
    EXPECT_EQ(paths.back().size(), length);
  }
  const std::string output = scan(paths);
  for (const std::string& path : paths) {
    EXPECT_TRUE(has(output, "\n" + found(path)) || output.rfind(found(path), 0) == 0)
        << path.size();
  }
  EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 10);
}

TEST_F(WrapperOnClamd, ScansFilesWhateverTheirNames) {
  startDaemon();
  const std::string lines = files.write("two\nlines: OK", eicar());
  const std::string end = files.write("return\r", eicar());
  const std::string bytes = files.write("bytes\xFF", eicar());
  const std::string verdict = files.write("v: Bad FOUND", "x");
  EXPECT_EQ(run({verdict, bytes, lines, end}), verdict + ": OK\n" + found(files.at("bytes\\xFF")) +
                                                   found(files.at("two\\x0Alines: OK")) +
                                                   found(files.at("return\\x0D")));
}

TEST_F(WrapperOnClamd, SaysWhatItMayNotRead) {
  startDaemon();
  user = ordinaryUser;
  const std::string file = files.write("secret", eicar(), 0600);
  files.write("private/inner", eicar());
  chmod(files.at("private").c_str(), 0700);
  EXPECT_EQ(scan({file, files.at("private"), files.at("private/inner")}),
            files.at("private/inner: Not scanned: permission denied\n") + file +
                ": Not scanned: permission denied\n" +
                files.at("private: Not scanned: permission denied\n") +
                files.at("private: Scanned but for what is named above (1)\n"));
  EXPECT_EQ(status, 2);
}

TEST_F(WrapperOnClamd, SaysWhatInAFolderItMayNotRead) {
  startDaemon();
  user = ordinaryUser;
  const std::string volume = files.makeFolder("volume");
  files.write("volume/open/infected", eicar());
  files.write("volume/secret", eicar(), 0600);
  files.write("volume/private/inner", eicar());
  chmod(files.at("volume/private").c_str(), 0700);
  for (const char* option : {"--stdout", "--multiscan"}) {
    const std::string output = scan({volume}, {option});
    EXPECT_TRUE(has(output, found(volume + "/open/infected"))) << output;
    EXPECT_TRUE(has(output, volume + "/secret: Not scanned: permission denied\n")) << output;
    EXPECT_TRUE(has(output, volume + "/private: Not scanned: permission denied\n")) << output;
    EXPECT_FALSE(has(output, ": OK")) << output;
    EXPECT_TRUE(has(output, volume + ": Scanned but for what is named above (2)\n")) << output;
  }
}

TEST_F(WrapperOnClamd, SaysOnceWhatInAFolderItMaySeeButNotReach) {
  startDaemon();
  user = ordinaryUser;
  files.write("listed/inner", eicar());
  chmod(files.at("listed").c_str(), 0744);
  EXPECT_EQ(scan({files.path()}), files.at("listed/inner: Not scanned: permission denied\n") +
                                      files.path() + ": Scanned but for what is named above (1)\n");
}

TEST_F(WrapperOnClamd, ScansWhatOnlyItsUserMayRead) {
  startDaemon();
  user = ordinaryUser;
  const std::string file = files.write("mine", eicar(), 0600);
  ASSERT_EQ(chown(file.c_str(), user, user), 0);
  EXPECT_EQ(scan({file}), found(file));
}

struct Limit {
  const char* lines;
  std::size_t size;
  const char* text;
};

class WrapperOnLimits : public WrapperOnClamd, public testing::WithParamInterface<Limit> {};

TEST_P(WrapperOnLimits, SaysWhatIsTooLarge) {
  startDaemon(GetParam().lines);
  std::string content = eicar();
  content.resize(GetParam().size, '\0');
  const std::string just = files.write("just", content);
  content += '\0';
  const std::string over = files.write("over", content);
  const std::string line =
      over + ": Not scanned: larger than the limit of " + GetParam().text + "\n";
  EXPECT_EQ(scan({just, over}), found(just) + line);
  const std::string folder = scan({files.path()});
  EXPECT_TRUE(has(folder, found(just)));
  EXPECT_TRUE(has(folder, line));
  EXPECT_EQ(scan({over}), line);
  EXPECT_EQ(status, 2);
}

INSTANTIATE_TEST_SUITE_P(ByUnit, WrapperOnLimits,
                         testing::Values(Limit{"MaxFileSize 94\n", 94, "94 bytes"},
                                         Limit{"MaxFileSize 2K\n", 2048, "2 KB"},
                                         Limit{"MaxFileSize 1m\n", 1U << 20U, "1 MB"},
                                         Limit{"MaxScanSize 3K\n", 3072, "3 KB"}));

TEST_F(WrapperOnClamd, ReadsTheLimitsOfTheDaemonThatReallyAnswers) {
  startDaemon("MaxFileSize 1K\n");
  // As it is when the tree points at a daemon of the machine.
  tree.write("etc/clamd.conf", "LocalSocket " + daemon->socket() + "\n");
  tree.write("etc/front.conf", "DaemonConfig " + daemon->configuration() + "\n");
  const std::string large = files.write("large", std::string(1025, 'x'));
  EXPECT_EQ(scan({large}), large + ": Not scanned: larger than the limit of 1 KB\n");
}

TEST_F(WrapperOnClamd, MovesNoFileForItsSize) {
  startDaemon("MaxFileSize 1K\nAlertExceedsMax yes\n");
  const std::string large = files.write("large", std::string(1025, 'x'));
  const std::string line = large + ": Not scanned: larger than the limit of 1 KB\n";
  const std::string move = "--move=" + tree.at("q");
  EXPECT_EQ(scan({large}, {move}), line);
  EXPECT_EQ(status, 2);
  EXPECT_EQ(scan({files.path()}, {move}),
            line + files.path() + ": Scanned but for what is named above (1)\n");
  EXPECT_EQ(run({move, files.write("two\nlines", std::string(1025, 'x'))}),
            files.at("two\\x0Alines") + ": Not scanned: larger than the limit of 1 KB\n");
}

TEST_F(WrapperOnClamd, OpensNoPipesAndDevices) {
  startDaemon();
  ASSERT_EQ(mkfifo(files.at("folder-pipe").c_str(), 0600), 0);
  ASSERT_EQ(mknod(files.at("zero").c_str(), S_IFCHR | 0600, makedev(1, 5)), 0);
  const std::string obstacles = scan({files.at("folder-pipe"), files.at("zero")});
  EXPECT_EQ(obstacles, files.at("folder-pipe: Not scanned: named pipe\n") +
                           files.at("zero: Not scanned: device\n"));
  const std::string folder = scan({files.path()});
  EXPECT_TRUE(has(folder, files.at("folder-pipe: Not scanned: named pipe\n")));
  EXPECT_EQ(std::count(folder.begin(), folder.end(), '\n'), 3) << folder;
}

TEST_F(WrapperOnClamd, FailsWithoutItsList) {
  startDaemon();
  EXPECT_EQ(
      run({"--file-list=" + files.at("none")}),
      "ERROR: --file-list: Can't open file " + files.at("none") + ": no such file or directory\n");
  EXPECT_EQ(status, 2);
}

TEST_F(WrapperOnClamd, ScansAFolderToItsDepths) {
  startDaemon("MaxDirectoryRecursion 5\n");
  for (int depth = 1; depth < 9; ++depth) {
    std::string name;
    for (int i = 0; i < depth; ++i) {
      name += "d/";
    }
    files.write(name + "infected", eicar());
    const std::string output = scan({files.path()});
    EXPECT_TRUE(has(output, found(files.at(name + "infected")))) << depth << output;
    EXPECT_FALSE(has(output, "recursion")) << output;
  }
}

TEST_F(WrapperOnClamd, LetsNoNameInAFolderForgeAVerdict) {
  startDaemon();
  files.write("x\n/etc/passwd: Forged FOUND\ny", eicar());
  const std::string output = scan({files.path()});
  EXPECT_EQ(output, found(files.at("x\\x0A/etc/passwd: Forged FOUND\\x0Ay")));
}

TEST_F(WrapperOnClamd, CallsACleanFolderClean) {
  startDaemon();
  files.write("a/b");
  files.link("a/c", "b");
  EXPECT_EQ(scan({files.path()}), files.path() + ": OK\n");
  EXPECT_EQ(status, 0);
}

TEST_F(WrapperOnClamd, SaysOnceThatThereIsNoDaemon) {
  startDaemon();
  daemon.reset();
  const std::string a = files.write("a");
  const std::string b = files.write("b");
  files.write("folder/c");
  const std::string output = scan({a, b, files.at("folder")});
  EXPECT_EQ(output.rfind("ERROR: Could not connect to clamd on LocalSocket ", 0), 0U) << output;
  EXPECT_EQ(output.find("Could not connect"), output.rfind("Could not connect"));
  EXPECT_TRUE(has(output, a + ": Not scanned: the daemon cannot be reached\n"));
  EXPECT_TRUE(has(output, b + ": Not scanned: the daemon cannot be reached\n"));
  EXPECT_TRUE(has(output, "/folder: Not scanned: not to its end: the daemon cannot be reached\n"));
  EXPECT_EQ(status, 2);
}

TEST_F(WrapperOnClamd, LeavesNoFileOutWhenTheDaemonDiesMeanwhile) {
  startDaemon();
  std::vector<std::string> paths;
  for (int i = 0; i < 3000; ++i) {
    paths.push_back(files.write("f" + std::to_string(i)));
  }
  const std::string output = run({listOf(paths)}, [&](std::string_view) {
    daemon->send(SIGKILL);
    return true;
  });
  const std::vector<std::string_view> all = split(output, '\n');
  const std::set<std::string_view> lines(all.begin(), all.end());
  int lost = 0;
  for (const std::string& path : paths) {
    const bool clean = lines.count(path + ": OK") > 0;
    const bool out = lines.count(path + ": Not scanned: the daemon cannot be reached") > 0 ||
                     lines.count(path + ": Not scanned: no reply from clamd") > 0;
    EXPECT_NE(clean, out) << path;
    lost += out ? 1 : 0;
  }
  EXPECT_GT(lost, 0);
  EXPECT_EQ(std::count_if(all.begin(), all.end(),
                          [](std::string_view line) {
                            return line.starts_with("ERROR: Could not connect to clamd");
                          }),
            1);
  EXPECT_EQ(status, 2);
}

TEST_F(WrapperOnClamd, DoesNotWaitForeverForAStoppedDaemon) {
  startDaemon();
  const UniqueFd output(memfd_create("report", MFD_CLOEXEC));
  files.write("folder/a");
  const std::string path = files.write("a");
  const TreeSettings engine = TreeSettings::at(tree.path());
  for (const std::string& what : {path, files.at("folder")}) {
    const CommandLine asked = CommandLine::parse({"--stdout", "--no-summary", what});
    Report report({output.get(), output.get()});
    SystemClock clock;
    daemon->send(SIGSTOP);
    EXPECT_EQ(ClientWrapper(engine, asked, report, clock, Starter(-1, -1), 300ms).run(), 2);
    daemon->send(SIGCONT);
  }
  std::array<char, 4096> bytes = {};
  ASSERT_GT(pread(output.get(), bytes.data(), bytes.size() - 1, 0), 0);
  EXPECT_TRUE(has(bytes.data(), path + ": Not scanned: the scanner made no progress\n"));
  EXPECT_TRUE(has(bytes.data(), "/folder: Not scanned: not to its end: the scanner made no"));
}

}  // namespace
}  // namespace quillo::wrapper
