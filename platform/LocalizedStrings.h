#pragma once

#include <string>

namespace quillo {

// The texts in the user's language. Any thread.
class LocalizedStrings {
 public:
  virtual ~LocalizedStrings() = default;
  // Returns the text for `key` in the user's language, else in English, else `fallback`.
  virtual std::string stringForKey(const std::string& key, const std::string& fallback) = 0;
};

}  // namespace quillo
