#pragma once

#include <string>
#include <vector>

#include "settings/WatchSettings.h"

namespace quillo {

class Folders;

// What goes into the places of the template of the first preferences
// (resources/preferences/first.toml.in).
struct FirstPreferences {
  std::string engine;
  std::string updateLog;
  std::string folder;
};
// Returns the template with its places filled in, as text of TOML. Pure.
std::string filledIn(std::string text, const FirstPreferences& values);
// Returns the text with every line made a comment. Pure.
std::string commentedOut(const std::string& text);

// Returns what is filled in for a user who has chosen nothing. Any thread.
FirstPreferences firstPreferencesOf(const Folders& folders);

// What a user chose before there were any preferences.
struct FirstChoice {
  std::vector<std::string> folders;  // absolute, any bytes; guarded with their subfolders
  InfectedFileAction action = InfectedFileAction::leaveInPlace;
};
// Returns the template with its places filled in and these choices in force; "" where the template
// has no place for them. `home` may be written "~". Pure.
std::string filledIn(const std::string& text, const FirstPreferences& values,
                     const FirstChoice& choice, const std::string& home);

}  // namespace quillo
