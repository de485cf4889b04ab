#pragma once

#include <string>

#include "platform/LocalizedStrings.h"
#include "platform/PreferenceStore.h"

namespace quillo {

// What a TOML file (toml.io, v1.0.0) holds. Dates and times are strings.
struct TomlFile {
  PreferenceDictionary values;
  // "", or "path:line:column: reason" or "path: reason"; `values` is then empty.
  std::string problem;
  // The problem in words for the user; what the parser says stays in its language.
  Wording wording;
  // Differs when the file on disk is another one or has been written since; empty without a file.
  std::string version;

  // Returns what the file holds. One that is not there is an empty one; anything but a regular file
  // is a problem, and nothing is waited for. Any thread.
  static TomlFile read(const std::string& path);
};

}  // namespace quillo
