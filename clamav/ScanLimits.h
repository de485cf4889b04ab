#pragma once

#include <cstdint>
#include <string>

namespace quillo {

class ClamConf;

// What the answering daemon does not look at.
struct ScanLimits {
  std::uint64_t largestFile = 0;  // bytes; a file of more is called clean without a look

  // From the daemon's configuration, with clamd.conf(5)'s defaults for absent keys. Pure.
  static ScanLimits of(const ClamConf& daemon);
};

// "100 MB", "3 KB", "94 bytes".
std::string sizeText(std::uint64_t bytes);

}  // namespace quillo
