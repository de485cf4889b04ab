#include "tools/engine-tree/ClamConf.h"

#include <fstream>
#include <iterator>

#include "posix/Text.h"

namespace quillo {
namespace {

std::string_view unquoted(std::string_view argument) {
  if (argument.size() >= 2 && argument.front() == '"') {
    const std::size_t end = argument.find('"', 1);
    return argument.substr(1, (end == std::string_view::npos ? argument.size() : end) - 1);
  }
  return argument;
}

}  // namespace

ClamConf ClamConf::parse(std::string_view text) {
  ClamConf conf;
  for (const std::string_view whole : split(text, '\n')) {
    const std::string_view line = trimmed(whole);
    if (line.empty() || line.front() == '#') {
      continue;
    }
    const std::size_t blank = line.find_first_of(" \t");
    const std::string_view option = line.substr(0, blank);
    const std::string_view argument =
        blank == std::string_view::npos ? std::string_view() : trimmed(line.substr(blank));
    conf.options_.emplace_back(option, unquoted(argument));
  }
  return conf;
}

std::optional<ClamConf> ClamConf::read(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    return std::nullopt;
  }
  const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  if (file.bad()) {
    return std::nullopt;
  }
  return parse(text);
}

bool ClamConf::has(std::string_view option) const {
  for (const auto& [name, argument] : options_) {
    if (name == option) {
      return true;
    }
  }
  return false;
}

std::string ClamConf::value(std::string_view option, std::string_view fallback) const {
  for (const auto& [name, argument] : options_) {
    if (name == option) {
      return argument;
    }
  }
  return std::string(fallback);
}

}  // namespace quillo
