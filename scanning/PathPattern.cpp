#include "scanning/PathPattern.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "posix/Accounts.h"
#include "posix/Text.h"

namespace quillo {
namespace {

// The C library writes out what is repeated: "a++++" is sixteen times "a", and each further "+"
// doubles what it takes, to gigabytes for a line of them; and where what is repeated may be empty,
// its time grows with the square of that, and with repetitions of repetitions without end. Groups
// within groups take its stack.
class Expansion {
 public:
  explicit Expansion(std::string_view pattern) : rest_(pattern) {
    while (!rest_.empty() && !isTooLarge_) {
      takeNext();
    }
  }
  bool isTooLarge() const { return isTooLarge_; }

 private:
  static constexpr std::uint64_t mostPieces = 5000;
  // Of one thing that is repeated: a quarter of a second.
  static constexpr std::uint64_t mostRepeated = 1000;
  static constexpr int mostNested = 4;
  static constexpr std::size_t deepest = 250;
  static constexpr std::string_view digits = "0123456789";

  struct Part {
    std::uint64_t pieces = 0;
    int nested = 0;  // repetitions within repetitions
  };

  void takeNext() {
    const char first = rest_.front();
    if (first == '(') {
      groups_.emplace_back();
      last_ = Part();
    } else if (first == ')' && groups_.size() > 1) {
      last_ = groups_.back();
      ++last_.pieces;
      groups_.pop_back();
      groups_.back().pieces += last_.pieces;
      groups_.back().nested = std::max(groups_.back().nested, last_.nested);
    } else if (first == '+') {
      repeat(2);
    } else if (first == '*' || first == '?') {
      repeat(1);
    } else if (first == '{') {
      if (rest_.find_first_of("0123456789,", 1) == 1) {
        repeat(mostTimes());
      }
    } else {
      last_ = Part{1, 0};
      ++groups_.back().pieces;
      rest_.remove_prefix(
          std::min(first == '[' ? set() : std::size_t{first == '\\'}, rest_.size() - 1));
    }
    rest_.remove_prefix(1);
    isTooLarge_ = isTooLarge_ || groups_.size() > deepest || groups_.back().pieces > mostPieces;
  }
  void repeat(std::uint64_t times) {
    groups_.back().pieces += last_.pieces * (times - 1);
    last_.pieces *= times;
    ++last_.nested;
    groups_.back().nested = std::max(groups_.back().nested, last_.nested);
    isTooLarge_ = (times > 1 && last_.pieces > mostRepeated) || last_.nested > mostNested;
  }
  // The larger number of "{1,2}", and 1 for what is none.
  std::uint64_t mostTimes() const {
    std::uint64_t most = 1;
    for (const std::string_view number : split(rest_.substr(1, rest_.find('}') - 1), ',')) {
      const std::size_t end = std::min(number.find_first_not_of(digits), number.size());
      most =
          std::max<std::uint64_t>(most, numberIn<std::uint16_t>(number.substr(0, end)).value_or(1));
    }
    return most;
  }
  // How much of "[...]" lies behind its first character.
  std::size_t set() const {
    std::size_t at = 1;
    at += rest_.substr(at).starts_with('^') ? 1 : 0;
    at += rest_.substr(at).starts_with(']') ? 1 : 0;
    for (; at < rest_.size() && rest_[at] != ']'; ++at) {
      const std::size_t inner = rest_.substr(at).find_first_of(":.=", 1);
      if (rest_[at] == '[' && inner == 1) {
        const char closing[] = {rest_[at + 1], ']', '\0'};
        at = std::min(rest_.find(closing, at + 2), rest_.size() - 1) + 1;
      }
    }
    return at;
  }

  std::string_view rest_;
  std::vector<Part> groups_{Part()};  // the open ones, the outermost first
  Part last_;                         // what a repetition would repeat
  bool isTooLarge_ = false;
};

}  // namespace

PathPattern::PathPattern(const std::string& pattern) {
  const int error = Expansion(pattern).isTooLarge()
                        ? REG_ESPACE
                        : regcomp(&compiled_, pattern.c_str(), REG_EXTENDED);
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
