#include "tools/clamdscan/TreeSettings.h"

#include <limits.h>
#include <unistd.h>

#include <array>

#include "clamav/ClamConf.h"
#include "clamav/ScratchFolder.h"
#include "posix/Text.h"

namespace quillo::wrapper {
namespace {

std::string absolute(const std::string& path) {
  std::array<char, PATH_MAX> folder;
  if (path.empty() || path[0] == '/' || getcwd(folder.data(), folder.size()) == nullptr) {
    return path;
  }
  return std::string(folder.data()) + "/" + path;
}

}  // namespace

TreeSettings TreeSettings::find(const std::vector<std::string>& programs) {
  std::string root;
  for (const std::string& program : programs) {
    if (program.find('/') == std::string::npos) {
      continue;
    }
    const std::string candidate =
        deletingLastPathComponent(deletingLastPathComponent(absolute(program)));
    if (root.empty()) {
      root = candidate;
    }
    if (access((candidate + "/etc/clamd.conf").c_str(), F_OK) == 0) {
      return at(candidate);
    }
  }
  return at(root);
}

TreeSettings TreeSettings::at(const std::string& root) {
  TreeSettings tree;
  tree.configuration = root + "/etc/clamd.conf";
  const ClamConf wrapper = ClamConf::read(root + "/etc/front.conf").value_or(ClamConf());
  const ClamConf own = ClamConf::read(tree.configuration).value_or(ClamConf());
  tree.daemonSocket = own.value("LocalSocket");
  tree.realClient = wrapper.value("RealClient", "/usr/bin/clamdscan");
  tree.takeDaemon(configurationBehind(root));
  return tree;
}

void TreeSettings::useConfiguration(const std::string& path) {
  configuration = path;
  const ClamConf own = ClamConf::read(path).value_or(ClamConf());
  daemonSocket = own.value("LocalSocket");
  takeDaemon(own);
}

void TreeSettings::takeDaemon(const ClamConf& daemon) {
  daemonAccount = daemon.value("User");
  definitionsFolder = daemon.value("DatabaseDirectory");
  scratchFolder = ScratchFolder::of(daemon);
  limits = ScanLimits::of(daemon);
  manners = SessionManners::of(daemon);
}

}  // namespace quillo::wrapper
