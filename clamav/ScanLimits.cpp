#include "clamav/ScanLimits.h"

#include <algorithm>

#include "clamav/ClamConf.h"

namespace quillo {
namespace {

constexpr std::uint64_t kibi = 1024;

// The engine takes no file of more bytes, whatever its configuration says (measured, 1.4).
constexpr std::uint64_t engineCeiling = 2147483645;

}  // namespace

ScanLimits ScanLimits::of(const ClamConf& daemon) {
  ScanLimits limits;
  limits.largestFile = engineCeiling;
  for (const std::uint64_t limit : {daemon.size("MaxFileSize").value_or(100 * kibi * kibi),
                                    daemon.size("MaxScanSize").value_or(400 * kibi * kibi)}) {
    if (limit != 0) {
      limits.largestFile = std::min(limits.largestFile, limit);
    }
  }
  return limits;
}

std::string sizeText(std::uint64_t bytes) {
  if (bytes >= kibi * kibi && bytes % (kibi * kibi) == 0) {
    return std::to_string(bytes / (kibi * kibi)) + " MB";
  }
  if (bytes >= kibi && bytes % kibi == 0) {
    return std::to_string(bytes / kibi) + " KB";
  }
  return std::to_string(bytes) + " bytes";
}

}  // namespace quillo
