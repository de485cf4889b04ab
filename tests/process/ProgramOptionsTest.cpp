// What every program answers when it is asked what it is.

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "posix/ChildProcess.h"
#include "posix/Version.h"

namespace quillo {
namespace {

struct Program {
  std::string path;
  std::string name;
};

// What the test is called by.
void PrintTo(const Program& program, std::ostream* out) { *out << program.name; }

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

TEST_P(ProgramOptions, SayTheVersion) {
  EXPECT_EQ(answered({"--version"}), GetParam().name + " " + projectVersion + "\n0");
}

TEST_P(ProgramOptions, SayHowItIsUsed) {
  const std::string answer = answered({"--help"});
  EXPECT_TRUE(answer.ends_with("\n0")) << answer;
  EXPECT_GT(answer.size(), 40U) << answer;
}

const Program programs[] = {{"gfslogger", "gfslogger"},
                            {"engine-tools/newsyslog", "newsyslog"},
                            {"engine-tools/vantrel-engine-tree", "vantrel-engine-tree"},
                            {"engine-tools/engine-launcher", "engine-launcher"}};

INSTANTIATE_TEST_SUITE_P(Each, ProgramOptions, testing::ValuesIn(programs));

TEST(ProgramOptionsOfAll, AreTriedHere) {
  // The client wrapper hands every option on to the client.
  std::set<std::string> tried = {"engine-tools/clamdscan"};
  for (const Program& program : programs) {
    tried.insert(program.path);
  }
  std::set<std::string> built;
  const std::filesystem::path resources = QUILLO_BINARY_DIR "/resources";
  for (const auto& entry : std::filesystem::recursive_directory_iterator(resources)) {
    if (entry.is_regular_file() && access(entry.path().c_str(), X_OK) == 0) {
      built.insert(entry.path().lexically_relative(resources));
    }
  }
  EXPECT_EQ(built, tried);
}

}  // namespace
}  // namespace quillo
