#include "tools/clamdscan/CommandLine.h"

#include <array>
#include <cstddef>
#include <string_view>
#include <utility>

namespace quillo::wrapper {
namespace {

enum class Meaning {
  takeOver,
  list,
  move,
  multiscan,
  infected,
  quiet,
  noSummary,
  toStdout,
  configuration,
  stream,
  descriptors
};

struct Option {
  std::string_view name;
  char letter;
  bool takesValue;
  Meaning meaning;
};

constexpr std::array<Option, 20> options = {{
    {"help", 'h', false, Meaning::takeOver},
    {"version", 'V', false, Meaning::takeOver},
    {"verbose", 'v', false, Meaning::takeOver},
    {"quiet", '\0', false, Meaning::quiet},
    {"stdout", '\0', false, Meaning::toStdout},
    {"log", 'l', true, Meaning::takeOver},
    {"file-list", 'f', true, Meaning::list},
    {"ping", 'p', true, Meaning::takeOver},
    {"wait", 'w', false, Meaning::takeOver},
    {"remove", '\0', false, Meaning::takeOver},
    {"move", '\0', true, Meaning::move},
    {"copy", '\0', true, Meaning::takeOver},
    {"config-file", 'c', true, Meaning::configuration},
    {"allmatch", 'z', false, Meaning::takeOver},
    {"multiscan", 'm', false, Meaning::multiscan},
    {"infected", 'i', false, Meaning::infected},
    {"no-summary", '\0', false, Meaning::noSummary},
    {"reload", '\0', false, Meaning::takeOver},
    {"fdpass", '\0', false, Meaning::descriptors},
    {"stream", '\0', false, Meaning::stream},
}};

const Option* byName(std::string_view name) {
  const Option* found = nullptr;
  for (const Option& option : options) {
    if (option.name == name) {
      return &option;
    }
    if (option.name.substr(0, name.size()) == name) {
      if (found != nullptr) {
        return nullptr;
      }
      found = &option;
    }
  }
  return found;
}

const Option* byLetter(char letter) {
  for (const Option& option : options) {
    if (option.letter == letter && letter != '\0') {
      return &option;
    }
  }
  return nullptr;
}

bool meansNo(std::string_view value) { return value == "no" || value == "false" || value == "0"; }

class Parser {
 public:
  explicit Parser(const std::vector<std::string>& words) : words_(words) {}

  CommandLine parse() {
    bool onlyPaths = false;
    for (; at_ < words_.size(); ++at_) {
      const std::string& word = words_[at_];
      if (onlyPaths || word.size() < 2 || word[0] != '-') {
        addPath(word);
      } else if (word == "--") {
        onlyPaths = true;
      } else if (word[1] == '-') {
        takeLong(std::string_view(word).substr(2));
      } else {
        takeCluster(std::string_view(word).substr(1));
      }
    }
    return result_;
  }

 private:
  void addPath(const std::string& word) {
    // What is left of a move option that was switched off names no file.
    if (word.empty()) {
      return;
    }
    result_.foreign = result_.foreign || word == "-";
    result_.paths.push_back(word);
  }

  void takeLong(std::string_view word) {
    const std::size_t equals = word.find('=');
    const Option* option = byName(word.substr(0, equals));
    const bool hasValue = equals != std::string_view::npos;
    const std::string_view value = hasValue ? word.substr(equals + 1) : std::string_view();
    if (option == nullptr) {
      handOn("--" + std::string(word));
    } else if (option->takesValue) {
      apply(*option, hasValue ? std::string(value) : nextWord());
    } else if (!meansNo(value)) {
      apply(*option, {});
    }
  }

  void takeCluster(std::string_view letters) {
    for (std::size_t i = 0; i < letters.size(); ++i) {
      const Option* option = byLetter(letters[i]);
      if (option == nullptr) {
        handOn(std::string("-") + letters[i]);
      } else if (option->takesValue) {
        const std::string_view rest = letters.substr(i + 1);
        apply(*option, rest.empty() ? nextWord() : std::string(rest));
        return;
      } else {
        apply(*option, {});
      }
    }
  }

  std::string nextWord() {
    if (at_ + 1 >= words_.size()) {
      // The real client words the complaint about the missing value.
      result_.foreign = result_.incomplete = true;
      return {};
    }
    return words_[++at_];
  }

  void handOn(std::string word) {
    result_.options.push_back(std::move(word));
    result_.foreign = true;
  }

  void apply(const Option& option, const std::string& value) {
    if (option.meaning != Meaning::move) {
      result_.options.push_back("--" + std::string(option.name) +
                                (option.takesValue ? "=" + value : std::string()));
    }
    switch (option.meaning) {
      case Meaning::takeOver:
        result_.foreign = true;
        break;
      case Meaning::stream:
        result_.foreign = result_.streams = true;
        break;
      case Meaning::configuration:
        result_.configuration = value;
        break;
      case Meaning::list:
        result_.fileList = value;
        break;
      case Meaning::move:
        result_.moveFolder = value;
        break;
      case Meaning::multiscan:
        result_.multiscan = true;
        break;
      case Meaning::infected:
        result_.infectedOnly = true;
        break;
      case Meaning::quiet:
        result_.quiet = true;
        break;
      case Meaning::noSummary:
        result_.noSummary = true;
        break;
      case Meaning::toStdout:
        result_.toStdout = true;
        break;
      case Meaning::descriptors:
        break;
    }
  }

  const std::vector<std::string>& words_;
  std::size_t at_ = 0;
  CommandLine result_;
};

}  // namespace

CommandLine CommandLine::parse(const std::vector<std::string>& words) {
  return Parser(words).parse();
}

}  // namespace quillo::wrapper
