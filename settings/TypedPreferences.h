#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/PreferenceStore.h"
#include "settings/PreferenceTable.h"

namespace quillo {

class Folders;
class SystemLog;

// Reads preferences by type, as they stand in the store at that moment. A value of another type
// counts as absent, and so does an entry of a list or table; the system log says so, with the key
// and both types. Any thread.
class TypedPreferences {
 public:
  TypedPreferences(PreferenceStore& store, Folders& folders, SystemLog& log)
      : store_(store), folders_(folders), log_(log) {}

  // Each returns what the table gives as the value of an absent preference, or nothing where it
  // gives words. A real is cut to a whole number; one beyond all bounds counts as absent.
  bool value(const Preference<bool>& preference) const;
  std::int64_t value(const Preference<std::int64_t>& preference) const;
  bool value(const Preference<Presence>& preference) const;
  std::optional<std::string> value(const Preference<std::string>& preference) const;
  // Returns paths with "~" at their beginning expanded; a URI goes before a path beside it.
  std::optional<std::string> value(const Preference<FolderPath>& preference) const;
  // Returns every entry in the user's order, with an empty path for one that names none.
  std::vector<ChosenFolder> value(const Preference<std::vector<ChosenFolder>>& preference) const;
  // Returns the entries that are enabled, in the user's order.
  std::vector<ExcludePattern> value(
      const Preference<std::vector<ExcludePattern>>& preference) const;
  // Returns those that are not enabled as well.
  std::vector<ExcludePattern> everyEntry(
      const Preference<std::vector<ExcludePattern>>& preference) const;

 private:
  template <typename T>
  std::optional<T> typed(const std::optional<PreferenceValue>& found, const std::string& what,
                         const char* expected) const;
  ExcludePattern patternIn(const PreferenceValue& entry, const std::string& where) const;
  PreferenceArray list(const std::string& key) const;
  // The entry `key` of a table; `where` names the table in the log.
  std::optional<PreferenceValue> entryOf(const PreferenceValue& table, const std::string& key,
                                         const std::string& where) const;
  std::optional<std::string> stringIn(const PreferenceValue& table, const std::string& key,
                                      const std::string& where) const;
  bool booleanIn(const PreferenceValue& table, const std::string& key,
                 const std::string& where) const;
  // The path that `uriKey` gives as a URI, or else `pathKey` as a path.
  std::optional<std::string> pathIn(const PreferenceValue& table, const std::string& uriKey,
                                    const std::string& pathKey, const std::string& where) const;
  std::string expanded(const std::string& path) const;
  void complain(const std::string& what, const char* expected, const PreferenceValue& found) const;

  PreferenceStore& store_;
  Folders& folders_;
  SystemLog& log_;
};

}  // namespace quillo
