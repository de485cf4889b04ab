#pragma once

#include <string>
#include <vector>

namespace quillo {

// The texts in the user's language. Any thread.
class LocalizedStrings {
 public:
  virtual ~LocalizedStrings() = default;
  // Returns the text for `key` in the user's language, else in English, else `fallback`.
  virtual std::string stringForKey(const std::string& key, const std::string& fallback) = 0;
};

// A text for the user that is not in any language yet: a key of the string tables, and what stands
// for each "%@" in its text, in order. Without a key it is the values as they are. Any thread.
struct Wording {
  std::string key = {};
  std::vector<std::string> values = {};

  bool empty() const { return key.empty() && values.empty(); }
  std::string in(LocalizedStrings& strings) const;
};

}  // namespace quillo
