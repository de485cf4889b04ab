#pragma once

#include <string>

namespace quillo {

// The user's language. Any thread.
class LocalizedStrings {
 public:
  virtual ~LocalizedStrings() = default;
  // The text for `key` in the user's language, else in English, else `fallback`.
  virtual std::string stringForKey(const std::string& key, const std::string& fallback) = 0;
};

}  // namespace quillo
