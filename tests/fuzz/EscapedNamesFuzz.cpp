// The two ways in which names that hold anything are written on one line.

#include "clamav/Verdict.h"
#include "posix/Text.h"
#include "tests/fuzz/FuzzInput.h"

using namespace quillo;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = fuzz::textOf(data, size);
  const std::string path = "/" + std::string(bytes);
  const std::string line = escapedPathLine(path);
  fuzz::mustHold(line.find('\n') == std::string::npos, "a path is one line");
  fuzz::mustHold(pathOfLine(line) == path, "a path is found in its line");
  fuzz::mustHold(pathOfLine(bytes).size() <= size, "a line stands for no longer path");

  const std::string text = reportedText(bytes);
  fuzz::mustHold(isValidUtf8(text), "what is reported is UTF-8");
  fuzz::mustHold(text.find('\n') == std::string::npos, "what is reported is one line");
  fuzz::mustHold(bytesOfReported(text) == bytes, "bytes are found in what is reported");
  fuzz::mustHold(bytesOfReported(bytes).size() <= size, "a report stands for no more bytes");
  return 0;
}
