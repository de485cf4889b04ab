#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>

#include "posix/BoundedLook.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

using namespace std::chrono_literals;

TEST(BoundedLooksTest, SayWhatIsThere) {
  const TemporaryFolder folder;
  BoundedLooks looks;
  const BoundedLooks::Answer there = looks.lookAt(folder.path(), 20s);
  ASSERT_TRUE(there.facts.has_value());
  EXPECT_TRUE(there.facts->isDirectory);
  EXPECT_FALSE(there.isSilent);
  const BoundedLooks::Answer none = looks.lookAt(folder.at("none"), 20s);
  EXPECT_FALSE(none.facts.has_value());
  EXPECT_FALSE(none.isSilent);
}

TEST(BoundedLooksTest, AskASilentPathOnceUntilItAnswers) {
  std::promise<void> server;
  std::atomic<int> questions = 0;
  const std::shared_future<void> up = server.get_future().share();
  BoundedLooks looks([&questions, up](const std::string&) -> std::optional<FileFacts> {
    ++questions;
    up.wait();
    return FileFacts{true, 1};
  });
  for (int round = 0; round < 5; ++round) {
    const BoundedLooks::Answer answer = looks.lookAt("/server/share", 0ms);
    EXPECT_TRUE(answer.isSilent);
    EXPECT_FALSE(answer.facts.has_value());
  }
  server.set_value();
  EXPECT_TRUE(looks.lookAt("/server/share", 20s).facts.has_value());
  EXPECT_EQ(questions, 1);
  EXPECT_TRUE(looks.lookAt("/server/share", 20s).facts.has_value());
  EXPECT_EQ(questions, 2);
}

}  // namespace
}  // namespace quillo
