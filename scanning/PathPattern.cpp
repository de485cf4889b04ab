#include "scanning/PathPattern.h"

#include "posix/Accounts.h"
#include "posix/Text.h"

namespace quillo {

PathPattern::PathPattern(const std::string& pattern) {
  const int error = regcomp(&compiled_, pattern.c_str(), REG_EXTENDED);
  valid_ = error == 0;
  if (!valid_) {
    char reason[200] = {};
    regerror(error, &compiled_, reason, sizeof reason);
    problem_ = reason;
  }
}

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

PatternList::PatternList(const std::vector<ExcludePattern>& chosen, const std::string& home) {
  for (const ExcludePattern& each : chosen) {
    const std::string pattern =
        each.isRegEx ? each.text : PathPattern::literalExpression(each.text, home);
    // An empty expression would match, and so exclude, everything.
    const bool counts = each.isEnabled && !pattern.empty();
    patterns_.push_back(counts ? std::make_shared<const PathPattern>(pattern) : nullptr);
  }
}

std::optional<std::size_t> PatternList::excluding(const std::string& path) const {
  for (std::size_t index = 0; index < patterns_.size(); ++index) {
    if (patterns_[index] && patterns_[index]->matches(path)) {
      return index;
    }
  }
  return std::nullopt;
}

}  // namespace quillo
