// Lines of the engine's report.

#include "clamav/Verdict.h"
#include "posix/Text.h"
#include "tests/fuzz/FuzzInput.h"

using namespace quillo;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  for (const std::string_view line : split(fuzz::textOf(data, size), '\n')) {
    const Verdict verdict = Verdict::parse(line);
    fuzz::mustHold(verdict.line == line, "the line is kept");
    fuzz::mustHold(line.find(verdict.path) != std::string_view::npos,
                   "the path stands in the line");
    fuzz::mustHold(verdict.kind != Verdict::Kind::message || verdict.path.empty(),
                   "a message is about no file");
    fuzz::mustHold((verdict.kind == Verdict::Kind::infected) ==
                       (line.ends_with(" FOUND") && line.find(':') != std::string_view::npos),
                   "the end of the line says that it is an infection");
  }
  // However a file is called: what its line says of it is found again.
  const std::string path = "/" + reportedText(fuzz::textOf(data, size));
  const Verdict found = Verdict::parse(path + ": Eicar-Test-Signature FOUND");
  fuzz::mustHold(found.kind == Verdict::Kind::infected && found.path == path &&
                     found.threat == "Eicar-Test-Signature",
                 "an infected file is known by its path");
  const Verdict clean = Verdict::parse(path + ": OK");
  fuzz::mustHold(clean.kind == Verdict::Kind::clean && clean.path == path, "so is a clean one");
  return 0;
}
