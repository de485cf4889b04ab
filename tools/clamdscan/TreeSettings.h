#pragma once

#include <string>
#include <vector>

#include "clamav/ScanLimits.h"
#include "clamav/ScanSession.h"

namespace quillo::wrapper {

// The engine tree that this program stands in, as ROOT/bin/clamdscan, and what its etc/ says.
struct TreeSettings {
  std::string configuration;  // ROOT/etc/clamd.conf, for the real client
  std::string daemonSocket;   // "LocalSocket" there, may be empty
  std::string realClient;     // "RealClient" of ROOT/etc/front.conf, or the distribution's place
  // Of "DaemonConfig" there, or of ROOT/etc/clamd.conf:
  std::string daemonAccount;      // "User", may be empty
  std::string definitionsFolder;  // "DatabaseDirectory", may be empty
  std::string scratchFolder;      // "TemporaryDirectory", or the engine's usual one
  ScanLimits limits;
  SessionManners manners;

  // Returns the tree of the first of `programs` (paths of this program, best first) that has one: a
  // tree may hold a symbolic link to the program as well as a copy. Any thread; never fails.
  static TreeSettings find(const std::vector<std::string>& programs);
  static TreeSettings at(const std::string& root);
  // Has another configuration count for everything but the real client's place.
  void useConfiguration(const std::string& path);

 private:
  void takeDaemon(const ClamConf& daemon);
};

}  // namespace quillo::wrapper
