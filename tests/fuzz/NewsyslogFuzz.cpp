// The configuration of the log rotator.

#include "tests/fuzz/FuzzInput.h"
#include "tools/newsyslog/Configuration.h"

using namespace quillo;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = fuzz::textOf(data, size);
  try {
    for (const LogEntry& entry : parseConfiguration(text, "f")) {
      fuzz::mustHold(entry.path.starts_with('/') && !entry.path.ends_with('/'), "a log is a file");
      fuzz::mustHold(entry.path.find('\0') == std::string::npos, "a path has no zero");
      fuzz::mustHold(entry.count >= 1 && entry.count <= 999, "there is an end to old versions");
      fuzz::mustHold((entry.attributes.mode & ~mode_t{0777}) == 0, "a mode gives no more rights");
      fuzz::mustHold(!entry.sizeLimit || *entry.sizeLimit > 0, "a limit is a size");
    }
  } catch (const ConfigurationError& failure) {
    fuzz::mustHold(std::string_view(failure.what()).starts_with("f:"), "a failure names the line");
  }
  return 0;
}
