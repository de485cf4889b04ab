#pragma once

#include <string>
#include <vector>

#include "clamav/ScanLimits.h"

namespace quillo::front {

// The engine tree that this program stands in, as ROOT/bin/clamdscan, and what its etc/ says.
struct EngineTree {
  std::string configuration;  // ROOT/etc/clamd.conf, for the real client
  std::string daemonSocket;   // "LocalSocket" there, may be empty
  std::string realClient;     // "RealClient" of ROOT/etc/front.conf, or the distribution's place
  ScanLimits limits;          // of "DaemonConfig" there, or of ROOT/etc/clamd.conf
  int deepestFolder = 0;      // levels that the client goes down into a folder; 0 for no limit

  // The tree of the first of `programs` (paths of this program, best first) that has one: a tree
  // may hold a symbolic link to the program as well as a copy. Any thread; never fails.
  static EngineTree find(const std::vector<std::string>& programs);
  static EngineTree at(const std::string& root);
};

}  // namespace quillo::front
