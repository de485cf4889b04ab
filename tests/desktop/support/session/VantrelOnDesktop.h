#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "posix/ChildProcess.h"
#include "tests/desktop/support/session/DesktopSession.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {

// The main application as its user meets it: a process on a desktop of its own.
class VantrelOnDesktop : public testing::Test {
 protected:
  struct Ended {
    int status = -1;
    std::string said;
  };
  static constexpr const char* program = QUILLO_BINARY_DIR "/vantrel";
  static constexpr const char* identifier = "org.vantrel.Vantrel";

  std::unique_ptr<ChildProcess> start(std::vector<std::string> words = {}) {
    words.insert(words.begin(), program);
    return session.startCommand(std::move(words));
  }
  // Runs it to its end, in the session as the words of the shell before it change that.
  Ended run(const std::vector<std::string>& words, const std::string& before = "") {
    const std::string said = session.homeFolder() + "/said";
    std::string command = before + " exec \"$0\" \"$@\" >" + said + " 2>&1";
    std::vector<std::string> all = {"/bin/sh", "-c", command, program};
    all.insert(all.end(), words.begin(), words.end());
    const int status = session.startCommand(all)->waitUntilExit();
    return {status, TemporaryFolder::read(said)};
  }
  std::size_t windows() {
    std::size_t count = 0;
    for (const std::string& title : session.screen().windowTitles()) {
      count += title.ends_with(" – Vantrel") ? 1U : 0U;
    }
    return count;
  }
  bool shows(const std::string& page) {
    const std::string title = page + " – Vantrel";
    return session.screen().eventually(
        [&] { return session.screen().countWindows(title) == 1 && windows() == 1; });
  }
  // Keys reach it from now on.
  bool hasKeyboard(const std::string& title) {
    return session.screen().eventually([&] { return session.screen().hasKeyboard(title); });
  }
  void call(const std::string& method, const std::vector<std::string>& arguments) {
    std::vector<std::string> words = {"gdbus",
                                      "call",
                                      "--session",
                                      "--dest",
                                      identifier,
                                      "--object-path",
                                      "/org/vantrel/Vantrel",
                                      "--method",
                                      "org.freedesktop.Application." + method};
    words.insert(words.end(), arguments.begin(), arguments.end());
    session.run(words);
  }

  std::string preferences() const {
    return session.homeFolder() + "/.config/vantrel/" + identifier + ".toml";
  }
  // Has the preferences name an engine that only keeps the names of what it is to scan.
  void makeEngine() {
    const std::filesystem::path engine = session.homeFolder() + "/engine";
    const std::filesystem::path scanner = engine / "bin/clamdscan";
    std::filesystem::create_directories(scanner.parent_path());
    std::ofstream(scanner) << "#!/bin/sh\nprintf '%s\\n' \"$@\" >>'" << engine.string()
                           << "/scanned'\n";
    std::filesystem::permissions(scanner, std::filesystem::perms::owner_all);
    std::filesystem::create_directories(std::filesystem::path(preferences()).parent_path());
    std::ofstream(preferences()) << "PathToClamav = \"" << engine.string() << "\"\n";
  }
  std::string makeFolder() {
    std::string folder = session.homeFolder() + "/Letters";
    std::filesystem::create_directory(folder);
    std::ofstream(folder + "/letter") << "Dear";
    return folder;
  }
  bool isScanned(const std::string& path) {
    const std::string file = session.homeFolder() + "/engine/scanned";
    return session.screen().eventually([&] {
      return ("\n" + TemporaryFolder::read(file)).find("\n" + path) != std::string::npos;
    });
  }

  DesktopSession session;
};

}  // namespace quillo
