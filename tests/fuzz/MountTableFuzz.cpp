// /proc/PID/mountinfo: whoever mounts chooses names and sources.

#include <algorithm>

#include "posix/MountTable.h"
#include "tests/fuzz/FuzzInput.h"

using namespace quillo;

namespace {

// As the kernel writes them.
std::string escaped(const std::string& text) {
  std::string line;
  for (const char each : text) {
    const auto byte = static_cast<unsigned char>(each);
    if (byte <= ' ' || each == '\\') {
      char octal[5];
      std::snprintf(octal, sizeof octal, "\\%03o", byte);
      line += octal;
    } else {
      line += each;
    }
  }
  return line;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(fuzz::textOf(data, size));
  const std::vector<Mount> mounts = parseMountTable(text);
  fuzz::mustHold(
      mounts.size() <= 1 + static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')),
      "a line is one mount at most");
  for (const Mount& mount : mounts) {
    fuzz::mustHold(!mount.point.empty() && !mount.root.empty() && !mount.type.empty(),
                   "a mount has a place, a root and a type");
    (void)isNetwork(mount);
    (void)isPseudo(mount);
    (void)isChangedByOthers(mount);
    const Mount* const holding = mountHolding(mount.point, mounts);
    fuzz::mustHold(holding && holding->point == mount.point, "a mount holds its own place");
  }
  // Whatever it is called, a mount of that name is found as the kernel writes it.
  const std::string point = "/" + text.substr(0, text.find('\0'));
  const auto made =
      parseMountTable("7 1 8:1 / " + escaped(point) + " rw,a=b shared:1 - ext4 /dev/sda1 rw\n");
  fuzz::mustHold(made.size() == 1 && made[0].point == point && made[0].type == "ext4",
                 "a place may be called anything");
  return 0;
}
