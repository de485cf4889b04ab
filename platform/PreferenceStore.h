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
  // Adds a domain to be searched behind those there are; adding it again changes nothing.
  virtual void addSuiteNamed(const std::string& domain) = 0;
  // Reads every domain anew. A domain that cannot be read keeps its last good values; the store
  // says where and why.
  virtual void synchronize() = 0;
  // The value in the first domain that has the key; absent when none has.
  virtual std::optional<PreferenceValue> objectForKey(const std::string& key) = 0;
  // Whether there is anything to read in any domain, be it in good order or not, as of the last
  // reading.
  virtual bool hasAny() = 0;
  // The file in which the user writes preferences of that domain, whether or not it is there.
  virtual std::string fileOf(const std::string& domain) const = 0;
};

}  // namespace quillo
