#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "posix/ChildProcess.h"
#include "tests/root/support/engine/PrivateClamd.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo::wrapper {

constexpr uid_t ordinaryUser = 61234;

inline bool has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// An engine tree with the client wrapper, the installed client and a daemon.
class WrapperOnClamd : public testing::Test {
 protected:
  WrapperOnClamd() {
    chmod(tree.path().c_str(), 0755);
    chmod(files.path().c_str(), 0755);
    std::filesystem::create_directory(tree.at("bin"));
    std::filesystem::copy_file(QUILLO_BINARY_DIR "/resources/engine-tools/clamdscan",
                               tree.at("bin/clamdscan"));
  }

  void startDaemon(const std::string& lines = {}) {
    daemon = std::make_unique<tests::PrivateClamd>(tests::PrivateClamd::Settings{lines, {}, true});
    tree.write("etc/clamd.conf", TemporaryFolder::read(daemon->configuration()));
  }

  std::string run(std::vector<std::string> words,
                  const ChildProcess::ChunkHandler& seen = nullptr) {
    words.insert(words.begin(), {"--stdout", "--no-summary"});
    std::string program = tree.at("bin/clamdscan");
    if (user != 0) {
      const std::string id = std::to_string(user);
      words.insert(words.begin(), {"--reuid=" + id, "--regid=" + id, "--clear-groups", program});
      program = "/usr/bin/setpriv";
    }
    std::string output;
    ChildProcess wrapper({program, words});
    status = wrapper.waitUntilExit([&](std::string_view chunk) {
      output += chunk;
      return seen ? seen(chunk) : true;
    });
    return output;
  }

  std::string listOf(const std::vector<std::string>& paths) {
    std::string text;
    for (const std::string& path : paths) {
      text += path + "\n";
    }
    return "--file-list=" + tree.write("list", text);
  }

  std::string scan(const std::vector<std::string>& paths, std::vector<std::string> words = {}) {
    words.push_back(listOf(paths));
    return run(words);
  }

  std::string found(const std::string& path) const {
    return path + ": " + tests::PrivateClamd::threat() + " FOUND\n";
  }

  TemporaryFolder tree;
  TemporaryFolder files;
  std::unique_ptr<tests::PrivateClamd> daemon;
  uid_t user = 0;
  int status = -1;
};

}  // namespace quillo::wrapper
