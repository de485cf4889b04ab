#pragma once

#include <unistd.h>

#include <string>

#include "posix/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"
#include "tools/newsyslog/Configuration.h"

namespace quillo {

// A folder of its own, gone with the test, with a log of numbered lines.
class LogSandbox {
 public:
  const std::string& folder() const { return folder_.path(); }
  std::string path(const std::string& name) const { return folder_.at(name); }
  bool has(const std::string& name) const { return TemporaryFolder::exists(path(name)); }
  void write(const std::string& name, const std::string& content) const {
    folder_.write(name, content);
  }
  std::string read(const std::string& name) const { return TemporaryFolder::read(path(name)); }

  // Lines from `first` on that take at least `size` bytes together.
  static std::string lines(int first, std::size_t size) {
    std::string text;
    for (int line = first; text.size() < size; ++line) {
      text += "line " + std::to_string(line) + " of this log\n";
    }
    return text;
  }

  // What bzip2 itself makes of an archive; "DAMAGED" when it complains.
  std::string unpacked(const std::string& name) const {
    LaunchRequest request;
    request.launchPath = "/bin/bzip2";
    request.arguments = {"-dc", path(name)};
    std::string content;
    ChildProcess child(request);
    const int status = child.waitUntilExit([&content](std::string_view chunk) {
      content += chunk;
      return true;
    });
    return status == 0 ? content : "DAMAGED";
  }
  // A version of the log, in whichever forms it is there.
  std::string version(int number) const {
    const std::string plain = "log." + std::to_string(number);
    return (has(plain + ".bz2") ? unpacked(plain + ".bz2") : "") + (has(plain) ? read(plain) : "");
  }
  // All that can still be read of the log, the oldest first.
  std::string everything(int versions) const {
    std::string text;
    for (int number = versions; number >= 0; --number) {
      text += version(number);
    }
    return text + read("log");
  }

  LogEntry entry(int count = 3) const {
    LogEntry entry;
    entry.path = path("log");
    entry.count = count;
    entry.sizeLimit = 1;
    entry.createIfMissing = true;
    entry.compress = true;
    return entry;
  }
  // As the agent writes it.
  std::string configuration(int count = 3) const {
    return "# logfilename [owner:group] mode count size when flags [/pid_file] [sig_num]\n" +
           path("log") + "\t" + std::to_string(getuid()) + ":" + std::to_string(getgid()) +
           "\t640\t" + std::to_string(count) + "\t1\t*\tCJN";
  }
  struct Outcome {
    int status;
    std::string output;
  };
  Outcome newsyslog() const {
    LaunchRequest request;
    request.launchPath = QUILLO_BINARY_DIR "/resources/engine-tools/newsyslog";
    request.arguments = {"-Cr", "-f", path("scanlogrotate.conf")};
    Outcome outcome = {};
    ChildProcess child(request);
    outcome.status = child.waitUntilExit([&outcome](std::string_view chunk) {
      outcome.output += chunk;
      return true;
    });
    return outcome;
  }

 private:
  const TemporaryFolder folder_;
};

}  // namespace quillo
