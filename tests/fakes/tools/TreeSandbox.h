#pragma once

#include <string>

#include "tests/support/TemporaryFolder.h"
#include "tools/engine-tree/EngineTree.h"

namespace quillo {

// A folder of its own that goes away with the test, and in it a machine on which ClamAV is
// installed, nothing is configured and nothing runs.
class TreeSandbox {
 public:
  TreeSandbox() {
    for (const char* name : {"machine", "tools", "profiles", "proc", "socket-place"}) {
      folder_.makeFolder(name);
    }
    program("machine/clamd");
    program("machine/clamdscan");
    program("machine/freshclam");
    program("tools/clamdscan");
    program("tools/engine-launcher");
  }

  std::string path(const std::string& name) const { return folder_.at(name); }
  void write(const std::string& name, const std::string& content) const {
    folder_.write(name, content);
  }
  std::string read(const std::string& name) const { return TemporaryFolder::read(path(name)); }
  void program(const std::string& name) const {
    folder_.writeProgram(name, "#!/bin/sh\n# " + name + "\n");
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
  const TemporaryFolder folder_;
};

}  // namespace quillo
