#include "tests/root/support/helper/HelperFixture.h"

#include <sys/stat.h>
#include <unistd.h>

#include <chrono>

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
  return output().waitFor(told(sentinel));
}

bool HelperFixture::waitUntilWatched(const std::string& where) {
  const auto until = std::chrono::steady_clock::now() + deadline;
  while (std::chrono::steady_clock::now() < until) {
    const std::string sentinel = where + "/sentinel-" + std::to_string(++sentinels_);
    writeFile(sentinel);
    if (output().waitFor(told(sentinel), std::chrono::milliseconds(50))) return true;
  }
  return false;
}

}  // namespace quillo::tests
