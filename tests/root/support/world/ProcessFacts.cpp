#include "tests/root/support/world/ProcessFacts.h"

#include <sstream>

#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {

std::string fileOf(pid_t process, const std::string& name) {
  return readFile("/proc/" + std::to_string(process) + "/" + name);
}

std::string statusOf(pid_t process, const std::string& key) {
  std::istringstream lines(fileOf(process, "status"));
  std::string line;
  while (std::getline(lines, line)) {
    if (line.rfind(key + ":\t", 0) == 0) return line.substr(key.size() + 2);
  }
  return "none";
}

pid_t markerOf(pid_t helper) {
  const std::string id = std::to_string(helper);
  return std::stoi(fileOf(helper, "task/" + id + "/children"));
}

}  // namespace quillo::tests
