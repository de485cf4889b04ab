// The real agent, its helper and an engine among a busy user's files, while whatever can go wrong
// goes wrong. See ./test soak.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <numeric>
#include <optional>
#include <set>
#include <sstream>

#include "tests/root/support/agent/GuardedHome.h"
#include "tests/root/support/world/FilesAndMounts.h"
#include "tests/soak/LogTail.h"
#include "tests/soak/RandomFaults.h"
#include "tests/soak/Traffic.h"
#include "tests/support/Waiting.h"

namespace quillo::tests {
namespace {
namespace fs = std::filesystem;
using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

constexpr milliseconds betweenActions(20);
constexpr seconds betweenFaults(5);
constexpr seconds betweenStorms(30);
// Files that the daemon left are looked after once a minute.
constexpr seconds patience(300);
constexpr seconds restAfter(60);
constexpr std::size_t warmUpFiles = 2000;
// Kilobytes: windows and caches that are made at the first need. A leak would not stop there, which
// the course shows.
constexpr std::size_t mostGrowth = 8192;
// Bytes: of a file that was moved away the agent knows, among so many, that it may be put back.
// With all else that comes with a find, 680 were measured.
constexpr std::size_t perFind = 768;
constexpr std::size_t mostFindsKnown = 20'000;
// Enough for the minutes before the end.
constexpr std::size_t mostLines = 200'000;

std::uint64_t numberFrom(const char* variable, std::uint64_t otherwise) {
  const char* const value = std::getenv(variable);
  return value ? std::strtoull(value, nullptr, 10) : otherwise;
}

std::size_t entriesOf(const std::string& folder) {
  std::error_code gone;
  return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder, gone), {}));
}

// What a process holds; nothing of one that has just ended.
struct Holdings {
  std::size_t threads = 0;
  std::size_t descriptors = 0;
  std::size_t kilobytes = 0;     // its share of memory, PSS
  std::size_t ownKilobytes = 0;  // of these, what stands in no file

  static Holdings of(pid_t process) {
    const std::string folder = "/proc/" + std::to_string(process);
    Holdings held{entriesOf(folder + "/task"), entriesOf(folder + "/fd")};
    std::istringstream lines(fs::exists(folder) ? readFile(folder + "/smaps_rollup") : "");
    for (std::string line; std::getline(lines, line);) {
      if (line.starts_with("Pss:")) {
        held.kilobytes = std::stoul(line.substr(4));
      } else if (line.starts_with("Pss_Anon:")) {
        held.ownKilobytes = std::stoul(line.substr(9));
      }
    }
    return held;
  }
  void raiseTo(const Holdings& other) {
    threads = std::max(threads, other.threads);
    descriptors = std::max(descriptors, other.descriptors);
    kilobytes = std::max(kilobytes, other.kilobytes);
    ownKilobytes = std::max(ownKilobytes, other.ownKilobytes);
  }
};

// A disk of its own, small enough to be filled.
struct SmallDisk {
  SmallDisk() {
    makeFolder("/tmp/guarded");
    mountTmpfs("/tmp/guarded", "mode=755,size=400M");
  }
};

class Soak : public testing::Test {
 protected:
  void begin() {
    std::printf("A soak of %llu s, with the seed %llu (QUILLO_SOAK_SEED)\n",
                static_cast<unsigned long long>(length.count()),
                static_cast<unsigned long long>(seed));
    std::fflush(stdout);
    makeFolder(home.home() + "/quarantine", 0700);
    check(chown((home.home() + "/quarantine").c_str(), GuardedHome::user, GuardedHome::user),
          "chown");
    home.writePreferences(RandomFaults::preferences(home, 0));
    home.startAndAwaitWatching();
    // What is made at the first need is there, and the heap has its size.
    traffic.storm(warmUpFiles);
    ASSERT_TRUE(awaitAllVerdicts()) << "before anything went wrong";
    // The history is kept for good, and once more what SQLite keeps of a reader that was closed.
    ASSERT_TRUE(awaitThat([this] {
      const std::string files = openFiles();
      const std::size_t first = files.find("/history.sqlite\n");
      return first != std::string::npos && files.find("/history.sqlite\n", first + 1) != files.npos;
    })) << openFiles();
    filesBefore = openFiles();
    before = Holdings::of(home.agent());
  }
  void pause(milliseconds time) {
    const auto until = steady_clock::now() + time;
    for (auto now = steady_clock::now(); now < until; now = steady_clock::now()) {
      logs.awaitChange(std::chrono::duration_cast<milliseconds>(until - now));
      look();
    }
  }
  void look() {
    log.read([this](const std::string& line) {
      ledger.hear(line);
      lastLines.push_back(line);
    });
    while (lastLines.size() > mostLines) {
      lastLines.pop_front();
    }
    most.raiseTo(Holdings::of(home.agent()));
  }
  void run() {
    const auto began = steady_clock::now();
    auto fault = began + betweenFaults;
    auto storm = began + betweenStorms;
    for (auto now = began; now < began + length; now = steady_clock::now()) {
      ASSERT_TRUE(home.isRunning()) << readFile("/tmp/guarded/output");
      traffic.act();
      if (now >= fault) {
        // The agent's last life is long enough to show what it loses.
        faults.strike(now < began + length / 2);
        fault = steady_clock::now() + betweenFaults / 2 + milliseconds(dice.below(5000));
      }
      if (now >= storm) {
        traffic.storm(200 + dice.below(1500));
        storm = steady_clock::now() + betweenStorms;
      }
      if (now >= began + length * (1 + course.size()) / 10) {
        course.push_back(Holdings::of(home.agent()).ownKilobytes);
      }
      pause(betweenActions);
    }
  }
  bool awaitAllVerdicts() {
    const auto until = steady_clock::now() + patience;
    while (steady_clock::now() < until) {
      look();
      forgetMoved();
      if (ledger.unjudged().empty()) {
        return true;
      }
      logs.awaitChange(milliseconds(500));
    }
    return false;
  }
  // When the last verdict has come a thread may still be about to end, and the history to be read.
  Holdings awaitRest() const {
    const auto until = steady_clock::now() + restAfter;
    Holdings held = Holdings::of(home.agent());
    while ((held.threads > before.threads || held.descriptors > before.descriptors) &&
           steady_clock::now() < until) {
      logs.awaitChange(seconds(1));
      held = Holdings::of(home.agent());
    }
    return held;
  }
  std::string threadNames() const {
    std::string names;
    for (const auto& thread :
         fs::directory_iterator("/proc/" + std::to_string(home.agent()) + "/task")) {
      names += readFile(thread.path().string() + "/comm");
    }
    return names;
  }
  // " NAME" of the process that a descriptor stands for, pidfd_open(2).
  static std::string programOf(const std::string& descriptorInfo) {
    std::istringstream lines(fs::exists(descriptorInfo) ? readFile(descriptorInfo) : "");
    for (std::string line; std::getline(lines, line);) {
      if (line.starts_with("Pid:\t")) {
        const std::string process = "/proc/" + line.substr(5);
        return fs::exists(process) ? " " + readFile(process + "/comm") : " that has ended";
      }
    }
    return "";
  }
  std::string openFiles() const {
    std::multiset<std::string> files;
    const std::string process = "/proc/" + std::to_string(home.agent());
    for (const auto& file : fs::directory_iterator(process + "/fd")) {
      std::error_code gone;
      const std::string what = fs::read_symlink(file.path(), gone).string();
      files.insert(what + programOf(process + "/fdinfo/" + file.path().filename().string()) + "\n");
    }
    return std::accumulate(files.begin(), files.end(), std::string());
  }
  // What was found has been moved, be it under another name than its last one.
  void forgetMoved() {
    for (const std::string& path : ledger.unjudged()) {
      if (ledger.isInfected(path) && !fs::exists(path)) {
        ledger.gone(path);
      }
    }
  }
  // What was lost, and all that the log says of it and of the agent.
  std::string missing() const {
    std::string text;
    std::vector<std::string> names;
    for (const std::string& path : ledger.unjudged()) {
      text += path + (ledger.isInfected(path) ? ", infected" : "") +
              (fs::exists(path) ? "\n" : ", not there any more\n");
      names.push_back(fs::path(path).filename().string());
    }
    for (const std::string& line : lastLines) {
      const bool isOfFile = line.find('/') != std::string::npos;
      const bool isOfThese = std::any_of(names.begin(), names.end(), [&](const std::string& name) {
        return line.find(name) != std::string::npos;
      });
      text += !isOfFile || isOfThese ? line + "\n" : "";
    }
    return text;
  }
  void print(const Holdings& after) const {
    std::printf("\n| | |\n|---|---:|\n| length | %llu s |\n| seed | %llu |\n",
                static_cast<unsigned long long>(length.count()),
                static_cast<unsigned long long>(seed));
    std::printf("| files saved, moved or linked | %zu |\n| verdicts | %zu |\n| finds | %zu |\n",
                ledger.everSaved(), ledger.verdicts(), ledger.finds());
    std::printf("| times that a file was first left unscanned | %zu |\n", ledger.notScanned());
    for (const auto& [fault, times] : faults.counts()) {
      std::printf("| %s | %d |\n", fault.c_str(), times);
    }
    std::printf("| longest wait for a verdict | %.1f s |\n", ledger.longestWait().count());
    printRow("memory (PSS), KB: before, most, after", before.kilobytes, most.kilobytes,
             after.kilobytes);
    printRow("of these in no file, KB: before, most, after", before.ownKilobytes, most.ownKilobytes,
             after.ownKilobytes);
    std::printf("| likewise after each tenth |");
    for (const std::size_t kilobytes : course) {
      std::printf(" %zu", kilobytes);
    }
    std::printf(" |\n");
    printRow("threads: before, most, after", before.threads, most.threads, after.threads);
    printRow("descriptors: before, most, after", before.descriptors, most.descriptors,
             after.descriptors);
  }
  static void printRow(const char* what, std::size_t first, std::size_t second, std::size_t third) {
    std::printf("| %s | %zu, %zu, %zu |\n", what, first, second, third);
  }

  const seconds length{numberFrom("QUILLO_SOAK_SECONDS", 3600)};
  const std::uint64_t seed = numberFrom("QUILLO_SOAK_SEED", std::random_device()());
  const SmallDisk disk;
  GuardedHome home;
  const FolderWatch logs{home.home() + "/Library/Logs"};
  LogTail log{home.log()};
  std::deque<std::string> lastLines;
  Ledger ledger;
  Dice dice{seed};
  Traffic traffic{home, ledger, dice};
  RandomFaults faults{
      {home, dice, [this](milliseconds time) { pause(time); },
       // What was said meanwhile of those that are not judged may not have been written.
       [this] {
         look();
         traffic.saveAgain(ledger.unjudged());
       }}};
  Holdings before;
  std::string filesBefore;
  Holdings most;
  std::vector<std::size_t> course;
};

TEST_F(Soak, FindsEverythingAndLosesNothing) {
  ASSERT_NO_FATAL_FAILURE(begin());
  ASSERT_NO_FATAL_FAILURE(run());
  const bool areAllJudged = awaitAllVerdicts();
  const Holdings after = awaitRest();
  print(after);
  EXPECT_TRUE(areAllJudged) << missing();
  EXPECT_LE(after.threads, before.threads) << threadNames();
  EXPECT_LE(after.descriptors, before.descriptors) << "before:\n"
                                                   << filesBefore << "after:\n"
                                                   << openFiles();
  // What stands in files is shared with whoever else runs.
  const std::size_t known = std::min(ledger.finds(), mostFindsKnown);
  EXPECT_LT(after.ownKilobytes, before.ownKilobytes + mostGrowth + known * perFind / 1024);
}

}  // namespace
}  // namespace quillo::tests
