#include "tests/support/StarterCare.h"

#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>

namespace quillo {
namespace {

constexpr std::chrono::seconds betweenLooks(3);

// Children of this process that bear the name and have not begun a session of their own.
void endStarters() {
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
    std::ifstream children(task.path() / "children");
    for (pid_t child = 0; children >> child;) {
      std::string name;
      std::getline(std::ifstream("/proc/" + std::to_string(child) + "/comm"), name);
      if (name == "clamd" && getsid(child) != child) {
        kill(child, SIGTERM);
      }
    }
  }
}

}  // namespace

StarterCare::StarterCare(std::function<bool()> answers)
    : answers_(std::move(answers)), thread_([this, over = over_.get_future().share()] {
        while (over.wait_for(betweenLooks) != std::future_status::ready) {
          look();
        }
      }) {}

StarterCare::~StarterCare() {
  over_.set_value();
  thread_.join();
}

void StarterCare::look() const {
  if (answers_()) {
    endStarters();
  }
}

}  // namespace quillo
