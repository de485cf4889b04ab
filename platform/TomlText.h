#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "platform/PreferenceStore.h"

namespace quillo {

// What a text in TOML (toml.io, v1.0.0) says. Dates and times are strings.
struct TomlText {
  // Where it is no TOML, and what is wrong there, in the parser's words. Lines and columns count
  // from 1.
  struct Problem {
    std::size_t line = 0;
    std::size_t column = 0;
    std::string reason;
  };

  PreferenceDictionary values;  // empty where there is a problem
  std::optional<Problem> problem;

  // Pure; any thread.
  static TomlText parse(const std::string& text);
};

// Returns true when both are the same value of the same type. Pure; any thread.
bool sameValue(const PreferenceValue& one, const PreferenceValue& other);
bool sameValues(const PreferenceDictionary& one, const PreferenceDictionary& other);

}  // namespace quillo
