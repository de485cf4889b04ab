#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/PreferenceStore.h"

namespace quillo {

class SystemLog;

// Preferences read by type. A value of another type counts as absent and is told in the system log,
// with the key and both types. Any thread.
class TypedPreferences {
 public:
  TypedPreferences(PreferenceStore& store, SystemLog& log) : store_(store), log_(log) {}

  bool exists(const std::string& key) const { return store_.objectForKey(key).has_value(); }
  std::optional<std::string> string(const std::string& key) const;
  std::optional<bool> boolean(const std::string& key) const;
  // A whole number; a real is cut to one.
  std::optional<std::int64_t> number(const std::string& key) const;
  std::optional<PreferenceArray> array(const std::string& key) const;
  // A folder: a string, or a dictionary holding the string under "path", or under "URI" the URI of
  // a file, which goes before.
  std::optional<std::string> folder(const std::string& key) const;

  // The entry of a dictionary in a list; `where` names the list in the log.
  std::optional<std::string> stringIn(const PreferenceValue& entry, const std::string& key,
                                      const std::string& where) const;
  // The path that a URI there names; one that names none counts as absent and is told.
  std::optional<std::string> uriIn(const PreferenceValue& entry, const std::string& key,
                                   const std::string& where) const;
  std::optional<bool> booleanIn(const PreferenceValue& entry, const std::string& key,
                                const std::string& where) const;

 private:
  template <typename T>
  std::optional<T> typed(const std::optional<PreferenceValue>& found, const std::string& what,
                         const char* expected) const;
  std::optional<PreferenceValue> entryOf(const PreferenceValue& dictionary, const std::string& key,
                                         const std::string& where) const;
  void complain(const std::string& what, const char* expected, const PreferenceValue& found) const;

  PreferenceStore& store_;
  SystemLog& log_;
};

}  // namespace quillo
