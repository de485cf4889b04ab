#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tools/engine-tree/EngineTree.h"

namespace quillo {

// A folder of its own that goes away with the test, and in it a machine on which ClamAV is
// installed, nothing is configured and nothing runs.
class TreeSandbox {
 public:
  TreeSandbox() {
    std::string pattern = "/tmp/vantrel-tree-test-XXXXXX";
    folder_ = mkdtemp(pattern.data());
    for (const char* name : {"machine", "tools", "profiles", "proc", "socket-place"}) {
      std::filesystem::create_directory(path(name));
    }
    program("machine/clamd");
    program("machine/clamdscan");
    program("machine/freshclam");
    program("tools/clamdscan");
    program("tools/engine-launcher");
  }
  ~TreeSandbox() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }
  TreeSandbox(const TreeSandbox&) = delete;
  TreeSandbox& operator=(const TreeSandbox&) = delete;

  std::string path(const std::string& name) const { return folder_ + "/" + name; }

  void write(const std::string& name, const std::string& content) const {
    std::ofstream(path(name), std::ios::binary) << content;
  }
  std::string read(const std::string& name) const {
    std::ifstream file(path(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }
  void program(const std::string& name) const {
    write(name, "#!/bin/sh\n# " + name + "\n");
    chmod(path(name).c_str(), 0755);
  }

  MachinePlaces places() const {
    MachinePlaces places;
    places.daemons = {path("machine/clamd")};
    places.clients = {path("machine/clamdscan")};
    places.updaters = {path("machine/freshclam")};
    places.daemonConfigurations = {path("machine/clamd.conf")};
    places.definitions = path("machine/definitions");
    places.osRelease = path("machine/os-release");
    places.patience = std::chrono::milliseconds(200);
    places.processes = path("proc");
    places.temporary = path("socket-place");
    places.runtime = path("runtime");  // which is not there
    places.appArmorSwitch = path("machine/apparmor");
    places.appArmorProfiles = path("profiles");
    return places;
  }
  TreeRequest request() const {
    TreeRequest request;
    request.root = path("tree");
    request.toolFolder = path("tools");
    request.places = places();
    return request;
  }

 private:
  std::string folder_;
};

}  // namespace quillo
