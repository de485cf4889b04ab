#pragma once

#include <string>
#include <vector>

namespace quillo {

// What the words behind `vantrel` ask for. Pure.
struct StartRequest {
  enum class Kind {
    window,   // the window, with `page` or with `paths` to be scanned
    service,  // to be there for the bus, which asks next
    command,  // `command` with `words`
    help,
    version,
    misused  // `word` is not understood, or lacks what belongs behind it
  };

  Kind kind = Kind::window;
  std::string page = {};
  std::vector<std::string> paths = {};  // as they were given, none of them empty
  std::string command = {};
  std::vector<std::string> words = {};
  std::string word = {};

  static StartRequest of(const std::vector<std::string>& words);
};

}  // namespace quillo
