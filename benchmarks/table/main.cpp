// Measures the agent side by side with what else one might use, one group a run, in mount and
// process namespaces of its own, as root; see ./bench.
//
//   table_bench BUILD-FOLDER OUTPUT-FOLDER GROUP

#include <cstdio>
#include <exception>
#include <fstream>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "benchmarks/support/Machine.h"
#include "benchmarks/table/Bench.h"
#include "benchmarks/world/OwnTmp.h"
#include "posix/Version.h"

namespace bench {
namespace {

constexpr char machine[] = "machine";

using Group = std::function<std::vector<Table>(Bench&)>;

const std::map<std::string, Group>& groups() {
  static const std::map<std::string, Group> all{
      {"storms", measureStorms},         {"large", measureLargeStorm},
      {"single", measureSingleFile},     {"idle", measureIdle},
      {"foreground", measureForeground}, {"engine", measureRealSizedEngine},
  };
  return all;
}

void write(const std::string& path, const std::string& text) {
  std::ofstream file(path);
  if (!(file << text) || !file.flush()) {
    throw std::runtime_error("cannot write " + path);
  }
}

void measure(const std::string& buildFolder, const std::string& outputFolder,
             const std::string& group) {
  const std::string build = held(buildFolder);
  const std::string output = held(outputFolder);
  coverTmp("mode=1777,size=80%,nr_inodes=4000000");
  std::vector<Table> tables;
  if (group == machine) {
    tables.push_back(describeMachine("/tmp", quillo::projectVersion));
  } else {
    Bench bench(build);
    tables = groups().at(group)(bench);
  }
  write(output + "/" + group + ".md", markdown(tables));
  write(output + "/" + group + ".json", json(tables));
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  const std::string group = argc == 4 ? argv[3] : "";
  if (group != bench::machine && !bench::groups().contains(group)) {
    std::fprintf(stderr, "usage: table_bench BUILD-FOLDER OUTPUT-FOLDER GROUP\n");
    return 2;
  }
  try {
    bench::measure(argv[1], argv[2], group);
    return 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "table_bench %s: %s\n", group.c_str(), failure.what());
    return 1;
  }
}
