// The lines of a process list, and the words of a command line, which its owner chose.

#include "clamav/Daemons.h"
#include "posix/Text.h"
#include "tests/fuzz/FuzzInput.h"

using namespace quillo;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = fuzz::textOf(data, size);
  const RunningDaemon daemon = parseProcessList(text);
  fuzz::mustHold(text.find(daemon.program) != std::string_view::npos, "the program is in the list");
  fuzz::mustHold(daemon.program.empty() || text.find('/') == std::string_view::npos ||
                     daemon.program.front() == '/',
                 "the program begins at the first slash");
  fuzz::mustHold(!daemon.configuration || *daemon.configuration == trimmed(*daemon.configuration),
                 "nothing stands around a configuration");
  const std::vector<std::string_view> pieces = split(text, '\0');
  const std::string file = configurationOption({pieces.begin(), pieces.end()});
  fuzz::mustHold(text.find(file) != std::string_view::npos,
                 "the configuration is one of the words");
  return 0;
}
