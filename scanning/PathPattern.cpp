#include "scanning/PathPattern.h"

#include "posix/Accounts.h"
#include "posix/Text.h"

namespace quillo {

PathPattern::PathPattern(const std::string& pattern)
    : valid_(regcomp(&compiled_, pattern.c_str(), REG_EXTENDED) == 0) {}

PathPattern::~PathPattern() {
  // glibc releases what a failed compilation took by itself.
  if (valid_) {
    regfree(&compiled_);
  }
}

bool PathPattern::matches(const std::string& path) const {
  return matchesText(path) || matchesText(std::string(lastPathComponent(path)));
}

bool PathPattern::matchesText(const std::string& text) const {
  regmatch_t matched[2];
  return valid_ && regexec(&compiled_, text.c_str(), 2, matched, 0) == 0;
}

std::string PathPattern::literalExpression(const std::string& text, const std::string& home) {
  static constexpr const char* special[] = {"\\", "[", "^", "$", ".", "|", "?", "*", "+", "(", ")"};
  std::string expression = expandingTilde(text, home);
  for (const char* character : special) {
    expression = replacingAll(std::move(expression), character, std::string("\\") + character);
  }
  return expression;
}

}  // namespace quillo
