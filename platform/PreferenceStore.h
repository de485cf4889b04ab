#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace quillo {

struct PreferenceValue;
using PreferenceArray = std::vector<PreferenceValue>;
using PreferenceDictionary = std::map<std::string, PreferenceValue>;

// One value as a person wrote it: boolean, integer, real, string, array or dictionary.
struct PreferenceValue {
  std::variant<bool, std::int64_t, double, std::string, PreferenceArray, PreferenceDictionary>
      value;
};

// The preferences: the agent's own domain, then each added one. Any thread.
class PreferenceStore {
 public:
  virtual ~PreferenceStore() = default;
  // Adds a domain, which is searched behind the others. Adding it again changes nothing.
  virtual void addSuiteNamed(const std::string& domain) = 0;
  // Reads every domain anew. A domain that cannot be read keeps its last good values, and the place
  // and the reason are reported.
  virtual void synchronize() = 0;
  // Returns the value in the first domain that has the key; nothing when none has.
  virtual std::optional<PreferenceValue> objectForKey(const std::string& key) = 0;
  // Returns the file in which that value stands, as it was read last; "" when none has the key.
  virtual std::string fileThatHas(const std::string& key) = 0;
  // Returns true when the last reading found anything in any domain, in good order or not.
  virtual bool hasAny() = 0;
  // Returns the file for the user's preferences of that domain, whether or not it exists.
  virtual std::string fileOf(const std::string& domain) const = 0;
};

}  // namespace quillo
