#include <fcntl.h>
#include <getopt.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "posix/FileFacts.h"
#include "posix/Text.h"
#include "posix/UniqueFd.h"
#include "posix/Version.h"
#include "tools/newsyslog/Configuration.h"
#include "tools/newsyslog/LogRotation.h"

namespace {

constexpr char usage[] =
    "usage: newsyslog [-C] [-r] [-f FILE]\n"
    "    rotates the logs of FILE, /etc/newsyslog.conf by default, that have reached their size\n"
    "    -C  makes missing logs whose line has the flag C\n"
    "    -r  does not ask for root, and leaves owners alone when it is not root\n"
    "    --help and --version say this, and which version it is\n";

struct Options {
  bool createsMissing = false;
  bool withoutRoot = false;
  std::string configuration = "/etc/newsyslog.conf";
};

// Returns the exit status when there is nothing to rotate.
std::optional<int> parse(int argc, char** argv, Options& options) {
  static constexpr std::array<option, 3> known = {{{"help", no_argument, nullptr, 'h'},
                                                   {"version", no_argument, nullptr, 'v'},
                                                   {nullptr, 0, nullptr, 0}}};
  const auto next = [&] { return getopt_long(argc, argv, "Crf:", known.data(), nullptr); };
  for (int chosen = next(); chosen != -1; chosen = next()) {
    switch (chosen) {
      case 'C':
        options.createsMissing = true;
        break;
      case 'r':
        options.withoutRoot = true;
        break;
      case 'f':
        options.configuration = optarg;
        break;
      case 'h':
        return quillo::printText(usage);
      case 'v':
        return quillo::printVersion("newsyslog");
      default:
        std::fputs(usage, stderr);
        return 1;
    }
  }
  if (optind != argc) {
    std::fputs(usage, stderr);
    return 1;
  }
  return std::nullopt;
}

std::vector<quillo::LogEntry> entriesOf(const std::string& path) {
  const quillo::UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  const auto text = file ? quillo::restOfFile(file.get()) : std::nullopt;
  if (!text) {
    throw quillo::ConfigurationError(path + ": cannot read it: " + std::strerror(errno));
  }
  return quillo::parseConfiguration(*text, path);
}

bool rotate(const quillo::LogEntry& entry, bool createsMissing) {
  try {
    const auto folder =
        quillo::openLogFolder(quillo::deletingLastPathComponent(entry.path), geteuid() == 0);
    quillo::LogRotation(entry, *folder).run(createsMissing);
    return true;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "newsyslog: %s: not rotated: %s\n", entry.path.c_str(), failure.what());
    return false;
  }
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (const auto status = parse(argc, argv, options)) {
    return *status;
  }
  if (geteuid() != 0 && !options.withoutRoot) {
    std::fputs("newsyslog: must be root, or be run with -r\n", stderr);
    return 1;
  }
  signal(SIGIO, SIG_IGN);  // sent to whoever holds a lease on a file that another one opens
  try {
    bool allRight = true;
    for (const quillo::LogEntry& entry : entriesOf(options.configuration)) {
      allRight = rotate(entry, options.createsMissing) && allRight;
    }
    return allRight ? 0 : 1;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "newsyslog: %s\n", failure.what());
    return 1;
  }
}
