#include "tests/root/support/helper/HelperFixture.h"

#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <sstream>

#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {

HelperFixture::HelperFixture()
    : folder_(world_.path() + "/files"), program_(world_.path() + "/gfslogger") {
  runProgram(
      {"install", "-o", "root", "-m", "4755", QUILLO_BINARY_DIR "/resources/gfslogger", program_});
  makeFolder(folder_);
  mountTmpfs(folder_);
}

StandInAgent::Options HelperFixture::options() const {
  StandInAgent::Options result;
  result.program = program_;
  return result;
}

StandInAgent& HelperFixture::start(const StandInAgent::Options& options, const std::string& where) {
  root_ = options.root;
  agent_ = std::make_unique<StandInAgent>(options);
  if (!waitUntilWatched(where)) {
    ADD_FAILURE() << "the helper does not watch";
    agent_->errors().waitForEnd();
    for (const std::string& line : agent_->errors().all()) ADD_FAILURE() << line;
  }
  output().clear();
  return *agent_;
}

bool HelperFixture::catchUp(const std::string& where) {
  const std::string sentinel = where + "/sentinel-" + std::to_string(++sentinels_);
  writeFile(sentinel);
  return output().waitFor(reported(sentinel));
}

bool HelperFixture::waitUntilWatched(const std::string& where) {
  std::string sentinel;
  return awaitBy([&](auto) { output().waitFor(reported(sentinel), std::chrono::milliseconds(50)); },
                 [&] {
                   if (!sentinel.empty() && output().contains(reported(sentinel))) return true;
                   sentinel = where + "/sentinel-" + std::to_string(++sentinels_);
                   writeFile(sentinel);
                   return false;
                 });
}

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
