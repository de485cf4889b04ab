// clamd.conf, as the engine reads it and as the agent looks for the socket in it.

#include "clamav/ClamConf.h"
#include "posix/Text.h"
#include "tests/fuzz/FuzzInput.h"

using namespace quillo;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string bytes(fuzz::textOf(data, size));
  const ClamConf conf = ClamConf::parse(bytes);
  for (const char* const option : {"LocalSocket", "User", "DatabaseDirectory", "MaxFileSize"}) {
    const std::string value = conf.value(option);
    fuzz::mustHold(value.empty() || conf.has(option), "a value has a line");
    fuzz::mustHold(value.find('\n') == std::string::npos, "a value is of one line");
    fuzz::mustHold(bytes.find(value) != std::string::npos, "a value stands in the file");
    (void)conf.flag(option, false);
    (void)conf.size(option);
  }
  const LocalSocketLine line = discernLocalSocket(bytes);
  fuzz::mustHold(line.encoding == 4 || line.encoding == 5 || line.encoding == 10,
                 "bytes have an encoding");
  if (line.path) {
    fuzz::mustHold(line.path->find('\n') == std::string::npos, "a socket's path is of one line");
    fuzz::mustHold(line.path->find("LocalSocket ") == std::string::npos, "the last option counts");
  }
  // Whatever stands before it, the last line says where the socket is.
  if (line.encoding != 10) {
    const LocalSocketLine last = discernLocalSocket(bytes + "\nLocalSocket /s");
    fuzz::mustHold(last.path == "/s", "the last line counts");
  }
  return 0;
}
