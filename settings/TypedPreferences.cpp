#include "settings/TypedPreferences.h"

#include "platform/Folders.h"
#include "platform/SystemLog.h"
#include "posix/Accounts.h"
#include "posix/FileUri.h"

namespace quillo {
namespace {

const char* typeName(const PreferenceValue& value) {
  static constexpr const char* names[] = {"a boolean", "a whole number", "a number",
                                          "a string",  "a list",         "a table"};
  return names[value.value.index()];
}

}  // namespace

void TypedPreferences::complain(const std::string& what, const char* expected,
                                const PreferenceValue& found) const {
  log_.log("Preference " + what + " should be " + expected + " but is " + typeName(found) +
           "; it is ignored");
}

template <typename T>
std::optional<T> TypedPreferences::typed(const std::optional<PreferenceValue>& found,
                                         const std::string& what, const char* expected) const {
  if (!found) {
    return std::nullopt;
  }
  if (const T* value = std::get_if<T>(&found->value)) {
    return *value;
  }
  complain(what, expected, *found);
  return std::nullopt;
}

bool TypedPreferences::value(const Preference<bool>& preference) const {
  return typed<bool>(store_.objectForKey(preference.name), preference.name, "a boolean")
      .value_or(preference.whenAbsent);
}

std::int64_t TypedPreferences::value(const Preference<std::int64_t>& preference) const {
  const auto found = store_.objectForKey(preference.name);
  if (found) {
    if (const double* real = std::get_if<double>(&found->value)) {
      // Outside this range (and for NaN) the conversion would be undefined.
      return *real > -1e15 && *real < 1e15 ? static_cast<std::int64_t>(*real)
                                           : preference.whenAbsent;
    }
  }
  return typed<std::int64_t>(found, preference.name, "a number").value_or(preference.whenAbsent);
}

bool TypedPreferences::value(const Preference<Presence>& preference) const {
  return store_.objectForKey(preference.name).has_value();
}

std::optional<std::string> TypedPreferences::value(
    const Preference<std::string>& preference) const {
  return typed<std::string>(store_.objectForKey(preference.name), preference.name, "a string");
}

std::optional<std::string> TypedPreferences::value(const Preference<FolderPath>& preference) const {
  const auto found = store_.objectForKey(preference.name);
  if (found && std::holds_alternative<PreferenceDictionary>(found->value)) {
    return pathIn(*found, "URI", "path", preference.name);
  }
  const auto path = typed<std::string>(found, preference.name, "a string or a table");
  return path ? std::optional(expanded(*path)) : std::nullopt;
}

std::vector<ChosenFolder> TypedPreferences::value(
    const Preference<std::vector<ChosenFolder>>& preference) const {
  std::vector<ChosenFolder> folders;
  for (const PreferenceValue& entry : list(preference.name)) {
    std::string path = pathIn(entry, "pathURI", "pathName", preference.name).value_or("");
    folders.push_back({std::move(path), booleanIn(entry, "WatchSubdirs", preference.name)});
  }
  return folders;
}

std::vector<ExcludePattern> TypedPreferences::value(
    const Preference<std::vector<ExcludePattern>>& preference) const {
  std::vector<ExcludePattern> patterns;
  for (const PreferenceValue& entry : list(preference.name)) {
    if (booleanIn(entry, "excludeEnabled", preference.name)) {
      patterns.push_back(patternIn(entry, preference.name));
    }
  }
  return patterns;
}

std::vector<ExcludePattern> TypedPreferences::everyEntry(
    const Preference<std::vector<ExcludePattern>>& preference) const {
  std::vector<ExcludePattern> patterns;
  for (const PreferenceValue& entry : list(preference.name)) {
    const bool isTable = std::holds_alternative<PreferenceDictionary>(entry.value);
    patterns.push_back(isTable ? patternIn(entry, preference.name) : ExcludePattern());
    patterns.back().isEnabled = booleanIn(entry, "excludeEnabled", preference.name);
  }
  return patterns;
}

ExcludePattern TypedPreferences::patternIn(const PreferenceValue& entry,
                                           const std::string& where) const {
  return {stringIn(entry, "excludePattern", where).value_or(""),
          booleanIn(entry, "excludeRegEx", where)};
}

PreferenceArray TypedPreferences::list(const std::string& key) const {
  return typed<PreferenceArray>(store_.objectForKey(key), key, "a list")
      .value_or(PreferenceArray());
}

std::optional<PreferenceValue> TypedPreferences::entryOf(const PreferenceValue& table,
                                                         const std::string& key,
                                                         const std::string& where) const {
  const auto* entries = std::get_if<PreferenceDictionary>(&table.value);
  if (!entries) {
    complain("entry of " + where, "a table", table);
    return std::nullopt;
  }
  const auto found = entries->find(key);
  return found == entries->end() ? std::nullopt : std::optional<PreferenceValue>(found->second);
}

std::optional<std::string> TypedPreferences::stringIn(const PreferenceValue& table,
                                                      const std::string& key,
                                                      const std::string& where) const {
  return typed<std::string>(entryOf(table, key, where), where + "." + key, "a string");
}

bool TypedPreferences::booleanIn(const PreferenceValue& table, const std::string& key,
                                 const std::string& where) const {
  return typed<bool>(entryOf(table, key, where), where + "." + key, "a boolean").value_or(false);
}

std::optional<std::string> TypedPreferences::pathIn(const PreferenceValue& table,
                                                    const std::string& uriKey,
                                                    const std::string& pathKey,
                                                    const std::string& where) const {
  // A path cannot name every folder: a text of the preferences is UTF-8.
  if (const auto uri = stringIn(table, uriKey, where)) {
    if (auto named = pathOfFileUri(*uri)) {
      return named;
    }
    log_.log("Preference " + where + "." + uriKey + " should be the URI of a local file, such as " +
             "file:///home/ada/r%E9sum%E9s, but is " + *uri + "; it is ignored");
  }
  const auto path = stringIn(table, pathKey, where);
  return path ? std::optional(expanded(*path)) : std::nullopt;
}

std::string TypedPreferences::expanded(const std::string& path) const {
  return expandingTilde(path, folders_.homeFolder());
}

}  // namespace quillo
