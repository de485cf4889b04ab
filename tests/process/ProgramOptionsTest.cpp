// What every program answers when it is asked what it is.

#include <gtest/gtest.h>

#include "posix/ChildProcess.h"
#include "posix/Version.h"

namespace quillo {
namespace {

struct Program {
  std::string path;
  std::string name;
};

class ProgramOptions : public testing::TestWithParam<Program> {
 protected:
  static std::string answered(const std::vector<std::string>& words) {
    ChildProcess program({QUILLO_BINARY_DIR "/resources/" + GetParam().path, words});
    std::string output;
    program.waitUntilExit([&output](std::string_view chunk) {
      output += chunk;
      return true;
    });
    return output + std::to_string(program.terminationStatus());
  }
};

TEST_P(ProgramOptions, TellTheVersion) {
  EXPECT_EQ(answered({"--version"}), GetParam().name + " " + projectVersion + "\n0");
}

TEST_P(ProgramOptions, TellTheUse) {
  const std::string answer = answered({"--help"});
  EXPECT_TRUE(answer.ends_with("\n0")) << answer;
  EXPECT_GT(answer.size(), 40U) << answer;
}

INSTANTIATE_TEST_SUITE_P(
    Each, ProgramOptions,
    testing::Values(Program{"gfslogger", "gfslogger"},
                    Program{"engine-tools/newsyslog", "newsyslog"},
                    Program{"engine-tools/vantrel-engine-tree", "vantrel-engine-tree"},
                    Program{"engine-tools/engine-launcher", "engine-launcher"}));

}  // namespace
}  // namespace quillo
