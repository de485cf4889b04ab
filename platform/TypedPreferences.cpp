#include "platform/TypedPreferences.h"

#include "platform/SystemLog.h"
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

std::optional<std::string> TypedPreferences::string(const std::string& key) const {
  return typed<std::string>(store_.objectForKey(key), key, "a string");
}

std::optional<bool> TypedPreferences::boolean(const std::string& key) const {
  return typed<bool>(store_.objectForKey(key), key, "a boolean");
}

std::optional<std::int64_t> TypedPreferences::number(const std::string& key) const {
  const auto found = store_.objectForKey(key);
  if (found) {
    if (const double* real = std::get_if<double>(&found->value)) {
      // Outside this range (and for NaN) the conversion would be undefined.
      return *real > -1e15 && *real < 1e15
                 ? std::optional<std::int64_t>(static_cast<std::int64_t>(*real))
                 : std::nullopt;
    }
  }
  return typed<std::int64_t>(found, key, "a number");
}

std::optional<PreferenceArray> TypedPreferences::array(const std::string& key) const {
  return typed<PreferenceArray>(store_.objectForKey(key), key, "a list");
}

std::optional<std::string> TypedPreferences::folder(const std::string& key) const {
  const auto found = store_.objectForKey(key);
  if (found && std::holds_alternative<PreferenceDictionary>(found->value)) {
    const auto named = uriIn(*found, "URI", key);
    return named ? named : stringIn(*found, "path", key);
  }
  return typed<std::string>(found, key, "a string or a table");
}

std::optional<PreferenceValue> TypedPreferences::entryOf(const PreferenceValue& dictionary,
                                                         const std::string& key,
                                                         const std::string& where) const {
  const auto* entries = std::get_if<PreferenceDictionary>(&dictionary.value);
  if (!entries) {
    complain("entry of " + where, "a table", dictionary);
    return std::nullopt;
  }
  const auto found = entries->find(key);
  return found == entries->end() ? std::nullopt : std::optional<PreferenceValue>(found->second);
}

std::optional<std::string> TypedPreferences::stringIn(const PreferenceValue& entry,
                                                      const std::string& key,
                                                      const std::string& where) const {
  return typed<std::string>(entryOf(entry, key, where), where + "." + key, "a string");
}

std::optional<std::string> TypedPreferences::uriIn(const PreferenceValue& entry,
                                                   const std::string& key,
                                                   const std::string& where) const {
  const auto uri = stringIn(entry, key, where);
  auto path = uri ? pathOfFileUri(*uri) : std::nullopt;
  if (uri && !path) {
    log_.log("Preference " + where + "." + key + " should be the URI of a local file, such as " +
             "file:///home/ada/r%E9sum%E9s, but is " + *uri + "; it is ignored");
  }
  return path;
}

std::optional<bool> TypedPreferences::booleanIn(const PreferenceValue& entry,
                                                const std::string& key,
                                                const std::string& where) const {
  return typed<bool>(entryOf(entry, key, where), where + "." + key, "a boolean");
}

}  // namespace quillo
