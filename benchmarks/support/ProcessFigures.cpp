#include "benchmarks/support/ProcessFigures.h"

#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <system_error>

#include "benchmarks/support/Pause.h"

namespace bench {
namespace {

constexpr Seconds betweenLooks(0.1);

struct Stat {
  std::string name;
  std::vector<std::string> fields;  // from the third of proc(5) on: the state is the first of them
};

std::string folderOf(pid_t process) { return "/proc/" + std::to_string(process); }

// The name may hold anything, brackets too.
Stat statOf(pid_t process) {
  std::ifstream file(folderOf(process) + "/stat");
  std::string text;
  std::getline(file, text);
  const std::size_t begin = text.find('(');
  const std::size_t end = text.rfind(')');
  Stat stat;
  if (begin == std::string::npos || end == std::string::npos) {
    return stat;
  }
  stat.name = text.substr(begin + 1, end - begin - 1);
  std::istringstream rest(text.substr(std::min(end + 2, text.size())));
  for (std::string field; rest >> field;) {
    stat.fields.push_back(field);
  }
  return stat;
}

std::vector<pid_t> everyProcess() {
  std::vector<pid_t> all;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    const std::string number = entry.path().filename().string();
    if (number.find_first_not_of("0123456789") == std::string::npos) {
      all.push_back(std::stoi(number));
    }
  }
  return all;
}

// The number behind a key of a file of lines "KEY: NUMBER ...", 0 when it is not there.
double valueIn(const std::string& path, const std::string& key) {
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with(key)) {
      return std::stod(line.substr(key.size()));
    }
  }
  return 0;
}

}  // namespace

std::vector<pid_t> familyOf(pid_t ancestor) {
  constexpr std::size_t parentField = 1;
  std::map<pid_t, std::vector<pid_t>> children;
  for (const pid_t process : everyProcess()) {
    const Stat stat = statOf(process);
    if (stat.fields.size() > parentField) {
      children[std::stoi(stat.fields[parentField])].push_back(process);
    }
  }
  std::vector<pid_t> family{ancestor};
  for (std::size_t index = 0; index < family.size(); ++index) {
    const std::vector<pid_t>& next = children[family[index]];
    family.insert(family.end(), next.begin(), next.end());
  }
  return family;
}

std::vector<pid_t> processesNamed(const std::string& name) {
  std::vector<pid_t> found;
  for (const pid_t process : everyProcess()) {
    if (statOf(process).name == name) {
      found.push_back(process);
    }
  }
  return found;
}

bool isAnyRunning(const std::vector<pid_t>& processes) {
  return std::any_of(processes.begin(), processes.end(), [](pid_t process) {
    const Stat stat = statOf(process);
    return !stat.fields.empty() && stat.fields.front() != "Z" && stat.fields.front() != "X";
  });
}

Seconds processorTime(const std::vector<pid_t>& processes) {
  constexpr std::size_t firstTime = 11;  // own user and system time, then that of ended children
  constexpr std::size_t lastTime = 14;
  double ticks = 0;
  for (const pid_t process : processes) {
    const Stat stat = statOf(process);
    for (std::size_t index = firstTime; index <= lastTime && index < stat.fields.size(); ++index) {
      ticks += std::stod(stat.fields[index]);
    }
  }
  return Seconds(ticks / static_cast<double>(sysconf(_SC_CLK_TCK)));
}

Seconds ownProcessorTime(const std::vector<pid_t>& processes) {
  constexpr double nanosecondsPerSecond = 1e9;
  double total = 0;
  for (const pid_t process : processes) {
    clockid_t clock = 0;
    timespec used = {};
    if (clock_getcpuclockid(process, &clock) == 0 && clock_gettime(clock, &used) == 0) {
      total += static_cast<double>(used.tv_sec) +
               static_cast<double>(used.tv_nsec) / nanosecondsPerSecond;
    }
  }
  return Seconds(total);
}

double wakeUps(const std::vector<pid_t>& processes) {
  double total = 0;
  for (const pid_t process : processes) {
    std::error_code ignored;
    for (const auto& task :
         std::filesystem::directory_iterator(folderOf(process) + "/task", ignored)) {
      total += valueIn(task.path().string() + "/status", "voluntary_ctxt_switches:");
    }
  }
  return total;
}

double proportionalMegabytes(const std::vector<pid_t>& processes) {
  constexpr double kilobytesPerMegabyte = 1024;
  double kilobytes = 0;
  for (const pid_t process : processes) {
    kilobytes += valueIn(folderOf(process) + "/smaps_rollup", "Pss:");
  }
  return kilobytes / kilobytesPerMegabyte;
}

PeakMemory::PeakMemory(Processes processes)
    : processes_(std::move(processes)), thread_([this] { look(); }) {}

PeakMemory::~PeakMemory() {
  over_ = true;
  thread_.join();
}

void PeakMemory::look() {
  while (!over_) {
    most_ = std::max(most_.load(), proportionalMegabytes(processes_()));
    pauseFor(betweenLooks);
  }
}

}  // namespace bench
