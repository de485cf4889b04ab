#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/PreferenceStore.h"

namespace quillo {

// How keys and values are written in TOML (toml.io, v1.0.0), each on one line. Pure; any thread.

// The keys of a table with their values, in the order in which they are to be written.
using TomlFields = std::vector<std::pair<std::string, PreferenceValue>>;

// Returns the text, which is UTF-8, as a basic string, in quotes.
std::string tomlString(const std::string& text);
// Returns the key, in quotes where it needs them.
std::string tomlKey(const std::string& key);
// Throws PlatformException (invalidArgument) for a real and for an array that holds anything.
std::string tomlValue(const PreferenceValue& value);
std::string spelledTomlTable(const TomlFields& fields);

}  // namespace quillo
