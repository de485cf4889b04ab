#include "benchmarks/support/Machine.h"

#include <linux/magic.h>
#include <sys/sysinfo.h>
#include <sys/utsname.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <fstream>

#include "benchmarks/support/Processes.h"

namespace bench {
namespace {

std::string processorName() {
  std::ifstream file("/proc/cpuinfo");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("model name")) {
      return line.substr(line.find(':') + 2);
    }
  }
  return "unknown";
}

std::string memory() {
  constexpr double bytesPerGigabyte = 1024.0 * 1024 * 1024;
  struct sysinfo facts = {};
  sysinfo(&facts);
  return threeDigits(static_cast<double>(facts.totalram) * facts.mem_unit / bytesPerGigabyte) +
         " GB";
}

std::string kernel() {
  utsname facts = {};
  uname(&facts);
  return std::string(facts.sysname) + " " + facts.release;
}

std::string fileSystem(const std::string& folder) {
  struct statfs facts = {};
  statfs(folder.c_str(), &facts);
  switch (facts.f_type) {
    case TMPFS_MAGIC:
      return "tmpfs";
    case EXT4_SUPER_MAGIC:
      return "ext4";
    case BTRFS_SUPER_MAGIC:
      return "btrfs";
    default:
      return "type " + std::to_string(facts.f_type);
  }
}

std::string distribution() {
  std::ifstream file("/etc/os-release");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("PRETTY_NAME=\"")) {
      return line.substr(13, line.size() - 14);
    }
  }
  return "unknown";
}

std::string package(const std::string& name) {
  const std::string answer = "/tmp/version-of-" + name;
  const bool isThere = run({"/usr/bin/dpkg-query", "-W", "-f", "${Version}", name},
                           {"PATH=/usr/bin:/bin"}, answer, rootUser) == 0;
  std::ifstream file(answer);
  std::string version;
  std::getline(file, version);
  return isThere && !version.empty() ? version : "not installed";
}

}  // namespace

Table describeMachine(const std::string& folder, const std::string& version) {
  Table table;
  table.title = "Machine and versions";
  table.columns = {"What", "Which"};
  const auto add = [&](const std::string& what, const std::string& which) {
    table.rows.push_back({what, {which}});
  };
  add("processor", processorName());
  add("cores", std::to_string(sysconf(_SC_NPROCESSORS_ONLN)));
  add("memory", memory());
  add("kernel", kernel());
  add("system", distribution());
  add("file system", fileSystem(folder));
  add("Vantrel Quillo", version);
  for (const char* name : {"clamav-daemon", "clamdscan", "inotify-tools", "fatrace"}) {
    add(name, package(name));
  }
  return table;
}

}  // namespace bench
