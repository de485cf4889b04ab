// An exclusion pattern, a line break, and a path.

#include <algorithm>

#include "posix/Text.h"
#include "scanning/PathPattern.h"
#include "tests/fuzz/FuzzInput.h"

using namespace quillo;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view rest = fuzz::textOf(data, size);
  const std::string pattern = fuzz::taken(rest, '\n');
  const std::string path = "/" + std::string(rest.substr(0, rest.find('\0')));
  // References back take the C library time without end, and only the user can write them here.
  const auto digit = [](char each) { return each >= '0' && each <= '9'; };
  if (path.size() > 64 || pattern.find('\0') != std::string::npos ||
      (pattern.find('\\') != std::string::npos &&
       std::any_of(pattern.begin(), pattern.end(), digit))) {
    return 0;
  }
  const PathPattern expression(pattern);
  const bool matches = expression.matches(path);
  fuzz::mustHold(!matches || expression.problem().empty(), "what does not compile matches nothing");
  fuzz::mustHold(matches == (expression.matchesText(path) ||
                             expression.matchesText(std::string(lastPathComponent(path)))),
                 "a path is matched as a whole and by its name");
  const PatternList list({{pattern, true, true}, {"", true, true}, {pattern, true, false}}, "/h");
  const auto excluding = list.excluding(path);
  fuzz::mustHold(
      excluding.has_value() == (matches && !pattern.empty()) && excluding.value_or(0) == 0,
      "the first enabled pattern excludes");
  if (pattern.find_first_of("{}]") == std::string::npos && !pattern.starts_with('~') &&
      isAscii(pattern)) {
    const PathPattern plain(PathPattern::literalExpression(pattern, "/h"));
    fuzz::mustHold(pattern.size() > 2000 || plain.matchesText("/x" + pattern + "y"),
                   "a plain pattern matches itself");
    fuzz::mustHold(pattern.size() > 2000 ||
                       plain.matchesText(path) == (path.find(pattern) != std::string::npos),
                   "a plain pattern matches nothing else");
  }
  return 0;
}
