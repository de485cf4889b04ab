// The real agent while somebody sets the clock.

#include <gtest/gtest.h>

#include <ctime>
#include <filesystem>
#include <string>

#include "tests/root/support/agent/GuardedHome.h"
#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {
namespace {
namespace fs = std::filesystem;

const std::string found = ": Eicar-Test-Signature.UNOFFICIAL FOUND";

// The agent's wall clock, by faketime(1); its clocks that only run forward and the times of files
// stay as they are.
class FaultyClock : public testing::Test {
 protected:
  FaultyClock() {
    set(0);
    // The dynamic loader knows what LIB is (ld.so(8)).
    home.setVariable("LD_PRELOAD=/usr/$LIB/faketime/libfaketime.so.1");
    home.setVariable("FAKETIME_TIMESTAMP_FILE=" + file);
    home.setVariable("FAKETIME_NO_CACHE=1");
    home.setVariable("DONT_FAKE_MONOTONIC=1");
    home.setVariable("NO_FAKE_STAT=1");
    // That it comes before the sanitizer's library is meant.
    home.setVariable("ASAN_OPTIONS=detect_leaks=0:verify_asan_link_order=0");
  }
  void set(int days) const {
    const std::string written = file + ".new";
    writeFile(written, (days < 0 ? "" : "+") + std::to_string(days) + "d");
    fs::permissions(written, fs::perms(0644));
    fs::rename(written, file);
  }
  // As the log has it.
  static std::string dateIn(int days) {
    const std::time_t then = std::time(nullptr) + std::time_t{days} * 24 * 60 * 60;
    std::tm local = {};
    localtime_r(&then, &local);
    char text[30] = "";
    std::strftime(text, sizeof text, "%Y-%m-%d", &local);
    return text;
  }

  GuardedHome home;
  const std::string file = "/tmp/guarded/clock";
};

TEST_F(FaultyClock, ThatJumpsBackAndForthHoldsNothingUp) {
  home.startAndAwaitWatching();
  for (const int days : {-3, 40, -2000, 3000, 0}) {
    set(days);
    const std::string path = home.saveInfected("after " + std::to_string(days) + ".com");
    EXPECT_TRUE(home.logHas(path + found));
    EXPECT_TRUE(home.logHas(dateIn(days))) << "the clock was not set";
  }
  EXPECT_EQ(home.stop(), 0);
}

}  // namespace
}  // namespace quillo::tests
