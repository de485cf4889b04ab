// What ./run shows while it installs and builds: packaging/show-progress, and what stands around
// it.

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "posix/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

struct Shown {
  int status;
  std::string text;
};

Shown outcomeOf(const LaunchRequest& request) {
  Shown shown;
  ChildProcess process(request);
  shown.status = process.waitUntilExit([&](std::string_view chunk) {
    shown.text += chunk;
    return true;
  });
  return shown;
}

// Of a script of the packaging, which finds these programs before those of the machine.
Shown outcomeAmong(const TemporaryFolder& programs, const std::string& script,
                   const std::string& word) {
  LaunchRequest request{QUILLO_SOURCE_DIR "/packaging/" + script, {word}};
  request.environment = std::vector<std::string>{"PATH=" + programs.path() + ":/usr/bin:/bin"};
  return outcomeOf(request);
}

// Of these lines, without a terminal.
std::string shownOf(const std::string& lines) {
  return outcomeOf({"/bin/sh",
                    {"-c", "printf '%s' \"$1\" | \"$0\"",
                     QUILLO_SOURCE_DIR "/packaging/show-progress", lines}})
      .text;
}

TEST(ShowProgress, TakesAStepAtEveryQuarterWithoutATerminal) {
  std::string lines;
  for (int at = 1; at <= 200; ++at) {
    lines += "[" + std::to_string(at) + "/200] Building CXX object file.o\n";
  }
  EXPECT_EQ(shownOf(lines),
            "Building 0 %\nBuilding 25 %\nBuilding 50 %\nBuilding 75 %\nBuilding 100 %\n");
}

TEST(ShowProgress, IsSilentWhenThereIsNothingToDo) {
  EXPECT_EQ(shownOf("[0/2] Re-checking globbed directories...\n[1/2] Re-running CMake...\n"
                    "-- Configuring done\nninja: no work to do.\n"),
            "");
}

TEST(ShowProgress, PassesOnWhatACompilerSays) {
  EXPECT_EQ(shownOf("[1/2] Building CXX object a.o\nFAILED: a.o \na.cpp:1:2: error: no\n"),
            "Building 50 %\nFAILED: a.o \na.cpp:1:2: error: no\n");
}

TEST(ShowProgress, NamesTheTwoPartsOfPackages) {
  EXPECT_EQ(shownOf("dlstatus:1:12.5:Retrieving\ndlstatus:9:100:Retrieving\n"
                    "pmstatus:git:60.1:Unpacking\n"),
            "Fetching packages 0 %\nFetching packages 100 %\nInstalling packages 50 %\n");
}

// As apt(8) does, this one keeps what it tells of its progress from the scripts of packages.
TEST(InstallPackages, LeavesTheScriptsOfPackagesTheirStandardOutput) {
  const TemporaryFolder folder;
  folder.writeProgram("id", "#!/bin/sh\necho 0\n");
  folder.writeProgram("dpkg-query", "#!/bin/sh\n");
  folder.writeProgram(
      "apt-get",
      "#!/bin/sh\n[ \"$1\" = install ] || exit 0\n"
      "for word; do case \"$word\" in APT::Status-Fd=*) fd=${word#*=} ;; esac; done\n"
      "eval \"echo pmstatus:a:60:Unpacking >&$fd\"\n"
      "eval \"(exec $fd>&-; echo said by a script)\" || exit 100\n");
  const Shown shown = outcomeAmong(folder, "install-packages", "run");
  EXPECT_EQ(shown.status, 0);
  EXPECT_TRUE(shown.text.ends_with("Installing packages 50 %\n")) << shown.text;
}

// A cmake whose building fails, in place of the real one.
TEST(Build, ThatFailsShowsWhyAndEndsWithAnError) {
  const TemporaryFolder folder;
  folder.writeProgram("cmake",
                      "#!/bin/sh\n[ \"$1\" = --build ] || exit 0\n"
                      "echo '[1/2] Building CXX object a.o'\necho 'a.cpp:1:2: error: no'\n"
                      "exit 1\n");
  const Shown shown = outcomeAmong(folder, "build", "release");
  EXPECT_EQ(shown.status, 1);
  EXPECT_NE(shown.text.find("a.cpp:1:2: error: no\n"), std::string::npos) << shown.text;
  EXPECT_NE(shown.text.find("It could not be built; the reason stands above.\n"), std::string::npos)
      << shown.text;
}

}  // namespace
}  // namespace quillo
