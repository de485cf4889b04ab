#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

#include "companion/CommandTable.h"

namespace quillo {
namespace {

class CommandTableTest : public testing::Test {
 protected:
  int run(const std::string& name, const Command::Words& words = {}) {
    return table.run(name, words, out, errors);
  }

  std::ostringstream out;
  std::ostringstream errors;
  const CommandTable table{
      {{"status", "[--json]", "says it",
        [](const Command::Words& words, std::ostream& to, std::ostream&) {
          to << words.size() << " words";
          return 1;
        }},
       {"fails", "", "throws", [](const Command::Words&, std::ostream&, std::ostream&) -> int {
          throw std::runtime_error("it broke");
        }}}};
};

TEST_F(CommandTableTest, RunsTheCommandWithItsWords) {
  EXPECT_EQ(run("status", {"--json"}), 1);
  EXPECT_EQ(out.str(), "1 words");
  EXPECT_EQ(errors.str(), "");
}

TEST_F(CommandTableTest, CannotTellOfACommandThatThereIsNot) {
  EXPECT_EQ(run("nonsense"), 2);
  EXPECT_NE(errors.str().find("\"nonsense\""), std::string::npos);
  EXPECT_EQ(out.str(), "");
}

TEST_F(CommandTableTest, CannotTellAfterAFailure) {
  EXPECT_EQ(run("fails"), 2);
  EXPECT_EQ(errors.str(), "vantrel fails: it broke\n");
}

TEST_F(CommandTableTest, CannotTellWhatNobodyCouldRead) {
  out.setstate(std::ios::badbit);
  EXPECT_EQ(run("status"), 2);
}

TEST_F(CommandTableTest, ListsWhatThereIsAndNothingElse) {
  const std::string help = table.help();
  EXPECT_NE(help.find("vantrel status [--json]\n    says it\n"), std::string::npos);
  EXPECT_NE(help.find("vantrel fails\n"), std::string::npos);
  EXPECT_EQ(CommandTable({}).help().find("status"), std::string::npos);
}

}  // namespace
}  // namespace quillo
