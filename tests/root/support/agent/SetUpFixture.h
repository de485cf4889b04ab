#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <string>

#include "posix/FileFacts.h"
#include "tests/root/support/agent/GuardedHome.h"
#include "tests/root/support/agent/SetUpWorld.h"
#include "tests/root/support/world/FilesAndMounts.h"
#include "tests/support/Waiting.h"

namespace quillo::tests {

// ./run in a world of its own.
class SetUpFixture : public testing::Test {
 protected:
  using Outcome = SetUpWorld::Outcome;
  static constexpr char helper[] = "/usr/local/lib/vantrel-quillo/gfslogger";

  std::string inHome(const std::string& path) const { return world.home() + "/" + path; }
  std::string program() const { return inHome(".local/bin/vantrel-quillo"); }
  std::string autostart() const {
    return inHome(".config/autostart/org.vantrel.VantrelQuillo.desktop");
  }
  std::string preferences() const { return inHome(".config/vantrel/org.vantrel.Vantrel.toml"); }
  std::string log() const { return inHome("Library/Logs/VantrelQuillo-scan.log"); }
  // The one agent that runs; 0 when none does, or more than one.
  pid_t agent() const {
    const auto agents = world.agents();
    return agents.size() == 1 ? agents.begin()->first : 0;
  }
  std::string agentsProgram() const {
    const auto agents = world.agents();
    return agents.size() == 1 ? agents.begin()->second : "none, or several";
  }
  static bool isInForce(const std::string& path) {
    struct stat info {};
    return lstat(path.c_str(), &info) == 0 && info.st_mode == (S_IFREG | 04755) && info.st_uid == 0;
  }
  // What was saved into the guarded folder is found.
  bool finds() const {
    const std::string name = "Downloads/bad" + std::to_string(agent()) + ".com";
    world.writeAsUser(inHome(name), GuardedHome::testFile());
    const bool isFound = awaitThat(
        [&] {
          return contentsOfFile(log()).value_or("").find(
                     name + ": Eicar-Test-Signature.UNOFFICIAL FOUND") != std::string::npos;
        },
        std::chrono::seconds(30));
    if (isFound) {
      std::filesystem::remove(inHome(name));
    }
    return isFound;
  }
  void expectGuarding(const Outcome& outcome) const {
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_TRUE(outcome.says("\nGuarding ~/Downloads") ||
                outcome.output.starts_with("Guarding ~/Downloads"))
        << outcome.output;
    EXPECT_EQ(agentsProgram(), program()) << outcome.output;
    EXPECT_TRUE(isInForce(helper));
  }

  const SetUpWorld world;
};

}  // namespace quillo::tests
