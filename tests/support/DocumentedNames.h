#pragma once

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "tests/support/TemporaryFolder.h"

namespace quillo {

// Returns those names in a command's document that docs/json.md does not have, neither in the
// section of that command nor among what is said of all of them; and those of its values that are
// one of a few words, where the word does not stand there.
inline std::vector<std::string> undocumentedNames(const nlohmann::json& document) {
  const std::string all = TemporaryFolder::read(QUILLO_SOURCE_DIR "/docs/json.md");
  const std::string agents = TemporaryFolder::read(QUILLO_SOURCE_DIR "/docs/status.md");
  const std::string common = all.substr(0, all.find("\n## "));
  const std::size_t begin =
      all.find("\n## `vantrel " + document.value("command", std::string("none")) + " ");
  const std::string section =
      begin == std::string::npos ? "" : all.substr(begin, all.find("\n## ", begin + 1) - begin);
  const std::set<std::string> chosenWords = {"action", "agent",   "attention", "check",  "done",
                                             "keeper", "outcome", "problem",   "record", "result",
                                             "rule",   "sign",    "state",     "step"};
  std::vector<std::string> missing;
  const nlohmann::json flat = document.flatten();
  for (const auto& [place, value] : flat.items()) {
    std::string before;
    for (std::size_t from = 1; from <= place.size();) {
      const std::size_t end = std::min(place.find('/', from), place.size());
      const std::string name = place.substr(from, end - from);
      from = end + 1;
      const std::string text = before == "agent" ? agents : section + common;
      const bool isNumber = name.find_first_not_of("0123456789") == std::string::npos;
      // By itself, as the last part of a longer name, or as the first.
      const std::vector<std::string> spellings = {"`" + name + "`", "." + name + "`",
                                                  "`" + name + "."};
      const bool isThere = std::any_of(
          spellings.begin(), spellings.end(),
          [&](const auto& spelling) { return text.find(spelling) != std::string::npos; });
      if (!isNumber && !isThere) {
        missing.push_back(name);
      }
      before = name;
    }
    const bool isWord =
        value.is_string() && chosenWords.count(before) > 0 && place != "/recent/problem";
    const std::string word = isWord ? value.get<std::string>() : "";
    if (!word.empty() && (section + agents).find("`" + word + "`") == std::string::npos) {
      missing.push_back(before + " " + word);
    }
  }
  return missing;
}

}  // namespace quillo
