#include "benchmarks/interface/Figures.h"

#include <poll.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace bench {
namespace {

double waitsOf(const std::filesystem::path& task) {
  std::ifstream status(task / "status");
  const std::string key = "voluntary_ctxt_switches:";
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(key)) {
      return std::stod(line.substr(key.size()));
    }
  }
  return 0;
}

}  // namespace

Milliseconds now() { return std::chrono::steady_clock::now().time_since_epoch(); }

void pause(Milliseconds length) {
  const Milliseconds end = now() + length;
  for (Milliseconds left = length; left.count() > 0; left = end - now()) {
    poll(nullptr, 0, static_cast<int>(left.count()) + 1);
  }
}

double quantile(std::vector<double> values, double share) {
  std::sort(values.begin(), values.end());
  const auto last = static_cast<double>(values.size() - 1);
  return values.at(static_cast<std::size_t>(last * share));
}

void print(const std::string& what, std::vector<double> values, const std::string& unit) {
  const auto [least, greatest] = std::minmax_element(values.begin(), values.end());
  std::printf("%-58s %8.2f %s  (%.2f to %.2f)\n", what.c_str(), quantile(values, 0.5), unit.c_str(),
              *least, *greatest);
  std::fflush(stdout);
}

double processorMilliseconds(const std::vector<pid_t>& processes) {
  double total = 0;
  for (const pid_t process : processes) {
    clockid_t clock = 0;
    timespec used = {};
    if (clock_getcpuclockid(process, &clock) == 0 && clock_gettime(clock, &used) == 0) {
      total += static_cast<double>(used.tv_sec) * 1e3 + static_cast<double>(used.tv_nsec) / 1e6;
    }
  }
  return total;
}

double wakeUps(const std::vector<pid_t>& processes) {
  double total = 0;
  for (const pid_t process : processes) {
    std::error_code ignored;
    for (const auto& task : std::filesystem::directory_iterator(
             "/proc/" + std::to_string(process) + "/task", ignored)) {
      total += waitsOf(task.path());
    }
  }
  return total;
}

std::vector<pid_t> familyOf(const std::string& name) {
  std::vector<pid_t> family;
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    std::ifstream file(entry.path() / "comm");
    std::string own;
    if (std::getline(file, own) && own == name) {
      family.push_back(static_cast<pid_t>(std::stol(entry.path().filename().string())));
    }
  }
  for (std::size_t index = 0; index < family.size(); ++index) {
    const std::string folder = "/proc/" + std::to_string(family[index]) + "/task";
    for (const auto& task : std::filesystem::directory_iterator(folder, ignored)) {
      std::ifstream children(task.path() / "children");
      for (pid_t child = 0; children >> child;) {
        family.push_back(child);
      }
    }
  }
  return family;
}

}  // namespace bench
