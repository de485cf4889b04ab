#pragma once

#include <cstdint>
#include <string>

namespace quillo {

class ClamConf;

// The engine takes no file of more bytes, whatever its configuration says (measured, 1.4).
inline constexpr std::uint64_t engineCeiling = 2147483645;

// What the answering daemon does not look at.
struct ScanLimits {
  std::uint64_t largestFile = 0;  // bytes; a file of more is called clean without a look

  // Reads the daemon's configuration, with clamd.conf(5)'s defaults for absent keys. Pure.
  static ScanLimits of(const ClamConf& daemon);
};

// A size as people say it: in the largest unit in which it is a whole number. The engine's ceiling
// is called 2 GB, which no more than three bytes make a difference to. Pure.
enum class SizeUnit { bytes, kilobytes, megabytes, gigabytes };
struct RoundSize {
  std::uint64_t number = 0;
  SizeUnit unit = SizeUnit::bytes;
};
RoundSize roundSize(std::uint64_t bytes);
// Returns "2 GB", "100 MB", "3 KB" or "94 bytes". Pure.
std::string sizeText(std::uint64_t bytes);

}  // namespace quillo
