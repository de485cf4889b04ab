#include <getopt.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <exception>
#include <string>

#include "posix/FileFacts.h"
#include "posix/Text.h"
#include "posix/Version.h"
#include "tools/engine-tree/EngineTree.h"

namespace {

constexpr char help[] =
    "vantrel-engine-tree [--machine] [ROOT]\n"
    "    makes an engine tree below ROOT out of the installed ClamAV, or brings it up to date;\n"
    "    without ROOT for this user ($XDG_DATA_HOME/vantrel/engine), with --machine for everyone\n"
    "    (/usr/local/vantrel, needs root)\n"
    "vantrel-engine-tree --check [--machine] [ROOT]\n"
    "    changes nothing: 0 when the tree is whole, its clamd answers and real definitions are\n"
    "    there that are no older than two weeks, otherwise 1 and the reasons\n"
    "vantrel-engine-tree --help\n"
    "vantrel-engine-tree --version\n";

struct Options {
  bool check = false;
  bool machine = false;
  std::string root;
};

std::string ownFolder() {
  const auto program = quillo::targetOfLink("/proc/self/exe");
  return program ? quillo::deletingLastPathComponent(*program) : ".";
}

std::string absolute(const std::string& path) {
  if (!path.empty() && path.front() == '/') {
    return path;
  }
  std::array<char, 4096> here;
  return getcwd(here.data(), here.size()) == nullptr ? path : std::string(here.data()) + "/" + path;
}

int check(const Options& options) {
  const std::vector<std::string> reasons = quillo::checkTree(options.root, quillo::MachinePlaces());
  for (const std::string& reason : reasons) {
    std::printf("Engine tree %s: %s\n", options.root.c_str(), reason.c_str());
  }
  return reasons.empty() ? 0 : 1;
}

int make(const Options& options) {
  if (options.machine && geteuid() != 0) {
    std::fprintf(stderr, "vantrel-engine-tree: --machine needs root\n");
    return 1;
  }
  quillo::TreeRequest request;
  request.root = options.root;
  request.machineWide = options.machine;
  request.toolFolder = ownFolder();
  for (const std::string& line : quillo::describe(quillo::makeTree(request), request)) {
    std::printf("%s\n", line.c_str());
  }
  return 0;
}

int refuse(const char* word) {
  std::fprintf(stderr, "vantrel-engine-tree: what is \"%s\"?\n%s", word, help);
  return 1;
}

int run(int argc, char** argv) {
  static constexpr std::array<option, 5> known = {{{"check", no_argument, nullptr, 'c'},
                                                   {"machine", no_argument, nullptr, 'm'},
                                                   {"help", no_argument, nullptr, 'h'},
                                                   {"version", no_argument, nullptr, 'v'},
                                                   {nullptr, 0, nullptr, 0}}};
  Options options;
  opterr = 0;
  for (int word = optind;; word = optind) {
    // In the order of the words, so that the one that is not understood can be named.
    const int chosen = getopt_long(argc, argv, "-h", known.data(), nullptr);
    if (chosen == 'h') {
      return quillo::printText(help);
    }
    if (chosen == 'v') {
      return quillo::printVersion("vantrel-engine-tree");
    }
    if (chosen == -1) {
      break;
    }
    options.check = options.check || chosen == 'c';
    options.machine = options.machine || chosen == 'm';
    const bool isRoot = chosen == 1 && *optarg != '\0' && *optarg != '-' && options.root.empty();
    if (isRoot) {
      options.root = absolute(optarg);
    } else if (chosen != 'c' && chosen != 'm') {
      return refuse(argv[word]);
    }
  }
  if (optind < argc) {
    return refuse(argv[optind]);
  }
  if (options.root.empty()) {
    options.root = quillo::defaultRoot(options.machine);
  }
  return options.check ? check(options) : make(options);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "vantrel-engine-tree: %s\n", failure.what());
    return 1;
  }
}
