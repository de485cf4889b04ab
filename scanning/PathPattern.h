#pragma once

#include <regex.h>

#include <string>

namespace quillo {

// One pattern of the user, compiled once: a POSIX extended regular expression (regex(7)),
// unanchored and case-sensitive. One that does not compile matches nothing.
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

  // Returns the expression that matches `text` alone, as users write plain patterns: a leading "~"
  // becomes the home folder. "]", "{" and "}" keep their meaning.
  static std::string literalExpression(const std::string& text, const std::string& home);

 private:
  regex_t compiled_ = {};
  bool valid_ = false;
};

}  // namespace quillo
