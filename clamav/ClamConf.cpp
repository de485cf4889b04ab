#include "clamav/ClamConf.h"

#include <charconv>

#include "posix/FileFacts.h"
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

std::uint64_t unitOf(std::string_view text) {
  constexpr std::uint64_t kibi = 1024;
  if (text == "K" || text == "k") return kibi;
  if (text == "M" || text == "m") return kibi * kibi;
  if (text == "G" || text == "g") return kibi * kibi * kibi;
  return text.empty() ? 1 : 0;
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
  const std::optional<std::string> text = bytesOf(path);
  return text ? std::optional<ClamConf>(parse(*text)) : std::nullopt;
}

std::optional<std::string> ClamConf::bytesOf(const std::string& path) {
  return contentsOfRegularFile(path, Links::followed, largest);
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

std::optional<std::uint64_t> ClamConf::size(std::string_view option) const {
  const std::string text = value(option);
  std::uint64_t number = 0;
  const char* const behind = text.data() + text.size();
  const auto [end, error] = std::from_chars(text.data(), behind, number);
  const std::uint64_t unit = unitOf(std::string_view(end, static_cast<std::size_t>(behind - end)));
  if (error != std::errc() || unit == 0 || number > UINT64_MAX / unit) {
    return std::nullopt;
  }
  return number * unit;
}

bool ClamConf::flag(std::string_view option, bool fallback) const {
  const std::string text = lowercased(value(option));
  return text.empty() ? fallback : text == "yes" || text == "true" || text == "1";
}

}  // namespace quillo
