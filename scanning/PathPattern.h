#pragma once

#include <regex.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "settings/PreferenceTable.h"

namespace quillo {

// One pattern of the user, compiled once: a POSIX extended regular expression (regex(7)),
// unanchored and case-sensitive. One that does not compile matches nothing, and so one whose
// repetitions, written out, would take memory or time without end.
class PathPattern {
 public:
  explicit PathPattern(const std::string& pattern);
  ~PathPattern();
  PathPattern(const PathPattern&) = delete;
  PathPattern& operator=(const PathPattern&) = delete;

  // Returns true when it matches in the full path or in its last component. Any thread.
  bool matches(const std::string& path) const;
  // Returns true when it matches in the text as a whole. Any thread.
  bool matchesText(const std::string& text) const;

  // Returns why it does not compile, in regcomp(3)'s words; "" when it does.
  const std::string& problem() const { return problem_; }

  // Returns the expression that matches `text` alone, as users write plain patterns: a leading "~"
  // becomes the home folder. "]", "{" and "}" keep their meaning.
  static std::string literalExpression(const std::string& text, const std::string& home);

 private:
  regex_t compiled_ = {};
  bool valid_ = false;
  std::string problem_;
};

// What the user does not want scanned. Constant; any thread.
class PatternList {
 public:
  PatternList() = default;
  PatternList(const std::vector<ExcludePattern>& chosen, const std::string& home);

  // Returns which of `chosen` is the first that excludes the path; nothing when none does. An empty
  // pattern, and one that is not enabled, excludes nothing.
  std::optional<std::size_t> excluding(const std::string& path) const;

 private:
  // Null for one that excludes nothing.
  std::vector<std::shared_ptr<const PathPattern>> patterns_;
};

}  // namespace quillo
