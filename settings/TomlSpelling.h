#pragma once

#include <string>
#include <vector>

#include "platform/PreferenceStore.h"

namespace quillo {

// How keys and values are written in TOML (toml.io, v1.0.0), each on one line. Pure; any thread.

// The keys of a table with their values, in the order in which they are to be written.
struct TomlField {
  std::string key;
  PreferenceValue value;
};
using TomlFields = std::vector<TomlField>;
// Returns those of a table, in the order of their names.
TomlFields tomlFields(const PreferenceDictionary& table);

// Returns the text, which is UTF-8, as a basic string, in quotes.
std::string tomlString(const std::string& text);
// Returns the key, in quotes where it needs them.
std::string tomlKey(const std::string& key);
// Throws PlatformException (invalidArgument) for a real and for an array that holds anything.
std::string tomlValue(const PreferenceValue& value);
std::string spelledTomlTable(const TomlFields& fields);

}  // namespace quillo
