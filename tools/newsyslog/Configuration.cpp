#include "tools/newsyslog/Configuration.h"

#include <grp.h>

#include <algorithm>
#include <array>

#include "posix/Accounts.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr std::string_view blanks = " \t";
constexpr int mostOldVersions = 999;

[[noreturn]] void refuse(const std::string& reason) { throw ConfigurationError(reason); }

std::optional<uid_t> userFrom(std::string_view text) {
  if (text.empty()) {
    return std::nullopt;
  }
  if (const auto number = numberIn<uid_t>(text)) {
    return number;
  }
  const auto account = accountNamed(std::string(text));
  if (!account) {
    refuse("there is no user \"" + std::string(text) + "\"");
  }
  return account->user;
}

std::optional<gid_t> groupFrom(std::string_view text) {
  if (text.empty()) {
    return std::nullopt;
  }
  if (const auto number = numberIn<gid_t>(text)) {
    return number;
  }
  std::array<char, 16384> buffer;
  group entry = {};
  group* found = nullptr;
  if (getgrnam_r(std::string(text).c_str(), &entry, buffer.data(), buffer.size(), &found) != 0 ||
      found == nullptr) {
    refuse("there is no group \"" + std::string(text) + "\"");
  }
  return found->gr_gid;
}

std::string pathFrom(std::string_view text) {
  if (text.empty() || text.front() != '/') {
    refuse("the log \"" + std::string(text) + "\" is no absolute path");
  }
  if (text.back() == '/' || text.find('\0') != std::string_view::npos) {
    refuse("\"" + std::string(text) + "\" is not the path of a file");
  }
  return std::string(text);
}

mode_t modeFrom(std::string_view text) {
  const auto mode = numberIn<mode_t>(text, 8);
  if (!mode || *mode > 0777) {
    refuse("the mode \"" + std::string(text) + "\" is no octal number up to 777");
  }
  return *mode;
}

int countFrom(std::string_view text) {
  const auto count = numberIn<int>(text);
  if (!count || *count < 1 || *count > mostOldVersions) {
    refuse("the count \"" + std::string(text) + "\" is no number from 1 to " +
           std::to_string(mostOldVersions));
  }
  return *count;
}

std::optional<std::uint64_t> sizeFrom(std::string_view text) {
  if (text == "*") {
    return std::nullopt;
  }
  const auto size = numberIn<std::uint64_t>(text);
  if (!size || *size == 0) {
    refuse("the size \"" + std::string(text) + "\" is neither a number of kilobytes nor \"*\"");
  }
  return size;
}

void readFlags(std::string_view text, LogEntry& entry) {
  bool nobodyIsSignalled = false;
  for (const char flag : text) {
    switch (flag) {
      case 'C':
        entry.createIfMissing = true;
        break;
      case 'J':
        entry.compress = true;
        break;
      case 'N':
        nobodyIsSignalled = true;
        break;
      default:
        refuse(std::string("the flag \"") + flag + "\" is not among C, J and N");
    }
  }
  if (!nobodyIsSignalled) {
    refuse("the flag N is missing: this program signals no process");
  }
}

std::vector<std::string_view> wordsOf(std::string_view text) {
  std::vector<std::string_view> words;
  for (std::size_t start = text.find_first_not_of(blanks); start != std::string_view::npos;
       start = text.find_first_not_of(blanks, start)) {
    const std::size_t end = std::min(text.find_first_of(blanks, start), text.size());
    words.push_back(text.substr(start, end - start));
    start = end;
  }
  return words;
}

LogEntry parseLine(std::string_view line) {
  const bool hasTab = line.find('\t') != std::string_view::npos;
  const std::size_t end = std::min(line.find(hasTab ? '\t' : ' '), line.size());
  LogEntry entry;
  entry.path = pathFrom(line.substr(0, end));
  std::vector<std::string_view> words = wordsOf(line.substr(end));
  if (!words.empty() && words[0].find(':') != std::string_view::npos) {
    const std::size_t colon = words[0].find(':');
    entry.attributes.user = userFrom(words[0].substr(0, colon));
    entry.attributes.group = groupFrom(words[0].substr(colon + 1));
    words.erase(words.begin());
  }
  if (words.size() != 5) {
    refuse("mode, count, size, when and flags have to follow the log and its owner, but " +
           std::to_string(words.size()) + " fields do");
  }
  entry.attributes.mode = modeFrom(words[0]);
  entry.count = countFrom(words[1]);
  entry.sizeLimit = sizeFrom(words[2]);
  if (words[3] != "*") {
    refuse("the time \"" + std::string(words[3]) + "\" is not supported, only \"*\"");
  }
  readFlags(words[4], entry);
  return entry;
}

}  // namespace

std::vector<LogEntry> parseConfiguration(std::string_view text, const std::string& file) {
  std::vector<LogEntry> entries;
  int number = 0;
  for (std::string_view line : split(text, '\n')) {
    ++number;
    if (!line.empty() && line.back() == '\r') {
      line.remove_suffix(1);
    }
    const std::size_t start = line.find_first_not_of(blanks);
    if (start == std::string_view::npos || line[start] == '#') {
      continue;
    }
    try {
      entries.push_back(parseLine(line.substr(start)));
    } catch (const ConfigurationError& failure) {
      throw ConfigurationError(file + ":" + std::to_string(number) + ": " + failure.what());
    }
  }
  return entries;
}

}  // namespace quillo
