#include "clamav/ScanLimits.h"

#include <algorithm>
#include <array>

#include "clamav/ClamConf.h"

namespace quillo {
namespace {

constexpr std::uint64_t kibi = 1024;

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

RoundSize roundSize(std::uint64_t bytes) {
  if (bytes == engineCeiling) {
    return {2, SizeUnit::gigabytes};
  }
  RoundSize size{bytes, SizeUnit::bytes};
  for (const SizeUnit unit : {SizeUnit::kilobytes, SizeUnit::megabytes, SizeUnit::gigabytes}) {
    if (size.number == 0 || size.number % kibi != 0) {
      break;
    }
    size = {size.number / kibi, unit};
  }
  return size;
}

std::string sizeText(std::uint64_t bytes) {
  constexpr std::array<const char*, 4> units = {" bytes", " KB", " MB", " GB"};
  const RoundSize size = roundSize(bytes);
  return std::to_string(size.number) + units[static_cast<std::size_t>(size.unit)];
}

}  // namespace quillo
