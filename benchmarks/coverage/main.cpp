// Tries in how many ways a file can come to be in a guarded folder without being found, by the
// agent and by clamonacc(8). Runs in mount and process namespaces of its own, as root; see ./bench.

#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "benchmarks/coverage/AgentGuard.h"
#include "benchmarks/coverage/CoverageTable.h"
#include "benchmarks/coverage/OnAccessGuard.h"
#include "benchmarks/coverage/Places.h"
#include "benchmarks/coverage/Trial.h"
#include "benchmarks/support/StormFiles.h"
#include "benchmarks/world/OwnTmp.h"
#include "posix/ChildProcess.h"

namespace bench {
namespace {

constexpr int rounds = 2;
const std::string root = "/tmp/coverage";
const std::string images = "/tmp/images";

std::string firstLineOf(const std::string& program, const std::string& argument) {
  std::string output;
  quillo::ChildProcess child({program, {argument}});
  child.waitUntilExit([&](std::string_view chunk) {
    output += chunk;
    return true;
  });
  return output.substr(0, output.find('\n'));
}

std::vector<std::pair<std::string, std::string>> machine(const std::string& withoutBase) {
  utsname system = {};
  uname(&system);
  return {{"Kernel", std::string(system.sysname) + " " + system.release + ", " +
                         std::to_string(sysconf(_SC_NPROCESSORS_ONLN)) + " cores"},
          {"File system, where none is named",
           withoutBase.empty() ? "ext4" : "tmpfs, for ext4 is not to be had: " + withoutBase},
          {"Engine", firstLineOf("/usr/sbin/clamd", "--version")},
          {"Rounds", std::to_string(rounds)}};
}

std::string folderInEngine(const std::string& tree) {
  std::ifstream file(tree + "/etc/clamd.conf");
  const std::string option = "DatabaseDirectory ";
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with(option)) {
      return line.substr(option.size());
    }
  }
  throw std::runtime_error("no definitions in " + tree + "/etc/clamd.conf");
}

// A copy that its user may read.
std::string copyDefinitions(const std::string& tree) {
  std::string folder = "/tmp/definitions";
  std::filesystem::copy(folderInEngine(tree), folder, std::filesystem::copy_options::recursive);
  return folder;
}

Trial::Ground makeGround(const AgentGuard& agent) {
  const std::string outside = agent.home() + "/outside";
  const std::string linked = root + "/linked";
  const std::string link = agent.home() + "/Link";
  const std::string later = agent.guarded() + "/stick";
  for (const std::string& folder : {outside, linked, later}) {
    makeOrdinaryFolder(folder);
  }
  std::filesystem::create_symlink(linked, link);
  return {{"base", agent.guarded(), outside, ""},
          {"link", link, outside, ""},
          mountPlaces(images, agent.home() + "/disks"),
          LaterVolume(images, later),
          later};
}

// Nothing else than what is guarded anyway.
std::vector<std::string> furtherFolders(const Trial::Ground& ground) {
  std::vector<std::string> folders{ground.link.guarded};
  for (const Place& place : ground.others) {
    if (place.missing.empty()) {
      folders.push_back(place.guarded);
    }
  }
  return folders;
}

const std::vector<std::string>& notes() {
  static const std::vector<std::string> all{
      "Yes: the guard's log names the file as infected, within 10 s (agent, which waits until a "
      "file holds still) or 5 s (clamonacc) of the last way. \"1 of 2\": in so many of the rounds.",
      "Nobody opens the files after they were saved. clamonacc looks at a file when it is opened, "
      "so "
      "what it does not find here it finds when somebody opens the file, unless that is too late.",
      "clamonacc as Debian's unit starts it: clamd as user clamav, clamonacc as root with no "
      "option "
      "but the log's (without --move, which would take the files away), the guarded folders as "
      "OnAccessIncludePath, OnAccessExcludeUname clamav; with extra scanning also "
      "OnAccessExtraScanning yes. It has no helper: in the last two rows it is itself ended and "
      "started anew, and the file is saved in between.",
      "The long path and the 200 folders were there before the watching began. A file that stays "
      "mapped is told of by the kernel when it is unmapped, and found then by the agent. Of a file "
      "that its user may not read the agent says in its log that it was not scanned.",
      "The folders on other file systems are guarded folders of their own for each guard; the "
      "volume "
      "that is mounted later lies in a guarded folder, and is used a second after it was mounted."};
  return all;
}

void write(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  file.close();
  if (!file) {
    throw std::runtime_error("cannot write " + path);
  }
}

void measure(const std::string& build) {
  std::filesystem::create_directories(images);
  const std::string withoutBase = mountBase(images, root);
  AgentGuard agent(root, build);
  Trial::Ground ground = makeGround(agent);
  std::vector<std::string> folders = furtherFolders(ground);
  agent.guard(folders);
  folders.insert(folders.begin(), agent.guarded());
  const std::string definitions = copyDefinitions(agent.tree());
  OnAccessGuard plain({root + "/plain", definitions, folders, false});
  OnAccessGuard extra({root + "/extra", definitions, folders, true});
  const std::vector<FolderGuard*> guards{&agent, &plain, &extra};
  Trial trial(std::move(ground));
  CoverageTable table{machine(withoutBase), {}, {}, notes()};
  for (std::size_t column = 0; column < guards.size(); ++column) {
    table.guards.emplace_back(guards[column]->title());
    for (int round = 0; round < rounds; ++round) {
      const Seconds begin = now();
      trial.run(*guards[column], column, round);
      std::fprintf(stderr, "%s, round %d of %d: %.1f s\n", guards[column]->title(), round + 1,
                   rounds, (now() - begin).count());
    }
  }
  table.rows = trial.rows();
  const std::string results = build + "/../bench";
  std::filesystem::create_directories(results);
  write(results + "/coverage.md", markdownOf(table));
  write(results + "/coverage.json", jsonOf(table));
  std::fputs(markdownOf(table).c_str(), stdout);
}

template <typename Work>
int statusOf(Work work) {
  try {
    return work();
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "coverage_bench: %s\n", failure.what());
    return 1;
  }
}

// Orphans, such as the processes behind FUSE file systems, belong to the first process of a
// namespace, which they must not keep from ending.
int runBesideOrphans(const std::string& build) {
  const pid_t worker = fork();
  if (worker == 0) {
    const int status = statusOf([&] {
      measure(build);
      return 0;
    });
    std::fflush(nullptr);
    _exit(status);
  }
  for (;;) {
    int status = 0;
    const pid_t ended = waitpid(-1, &status, 0);
    if (ended == worker) {
      return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
    }
    if (ended < 0 && errno != EINTR) {
      return 1;
    }
  }
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: coverage_bench BUILD-FOLDER\n");
    return 2;
  }
  return bench::statusOf([&] {
    const std::string build = bench::held(argv[1]);
    bench::coverTmp();
    return bench::runBesideOrphans(build);
  });
}
