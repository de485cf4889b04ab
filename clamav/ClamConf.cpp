#include "clamav/ClamConf.h"

#include <charconv>
#include <cstdint>

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

constexpr int encodingUtf8 = 4;
constexpr int encodingLatin1 = 5;
constexpr int encodingUtf16 = 10;
constexpr std::string_view socketOption = "LocalSocket ";
constexpr std::size_t shortestLine = 13;

void appendUtf8(std::string& text, std::uint32_t code) {
  const auto byte = [&text](std::uint32_t value) { text.push_back(static_cast<char>(value)); };
  if (code < 0x80) {
    byte(code);
  } else if (code < 0x800) {
    byte(0xC0 | (code >> 6));
    byte(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    byte(0xE0 | (code >> 12));
    byte(0x80 | ((code >> 6) & 0x3F));
    byte(0x80 | (code & 0x3F));
  } else {
    byte(0xF0 | (code >> 18));
    byte(0x80 | ((code >> 12) & 0x3F));
    byte(0x80 | ((code >> 6) & 0x3F));
    byte(0x80 | (code & 0x3F));
  }
}

// `bytes` begins with a byte order mark.
std::string fromUtf16(const std::string& bytes) {
  const bool bigEndian = bytes[0] == '\xFE';
  const auto unit = [&bytes, bigEndian](std::size_t at) -> std::uint32_t {
    const auto first = static_cast<unsigned char>(bytes[at]);
    const auto second = static_cast<unsigned char>(bytes[at + 1]);
    return bigEndian ? first << 8 | second : second << 8 | first;
  };
  std::string text;
  for (std::size_t at = 2; at + 1 < bytes.size(); at += 2) {
    std::uint32_t code = unit(at);
    if (code >= 0xD800 && code < 0xDC00 && at + 3 < bytes.size()) {
      at += 2;
      code = 0x10000 + ((code - 0xD800) << 10) + (unit(at) & 0x3FF);
    }
    appendUtf8(text, code);
  }
  return text;
}

std::string decoded(const std::string& bytes, int& encoding) {
  if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) {
    encoding = encodingUtf16;
    return fromUtf16(bytes);
  }
  // Latin-1 bytes stay as they are: a path is bytes.
  encoding = isValidUtf8(bytes) ? encodingUtf8 : encodingLatin1;
  return bytes.starts_with("\xEF\xBB\xBF") ? bytes.substr(3) : bytes;
}

std::optional<std::string> socketOf(std::string_view line) {
  const std::size_t option = line.find(socketOption);
  if (line.size() < shortestLine || option == std::string_view::npos) {
    return std::nullopt;
  }
  const std::string_view rest = line.substr(option + socketOption.size());
  return std::string(rest.substr(0, rest.find(socketOption)));
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

ClamConf configurationBehind(const std::string& tree) {
  const ClamConf own = ClamConf::read(tree + "/etc/clamd.conf").value_or(ClamConf());
  const ClamConf front = ClamConf::read(tree + "/etc/front.conf").value_or(ClamConf());
  const std::string machines = front.value("DaemonConfig");
  return machines.empty() ? own : ClamConf::read(machines).value_or(own);
}

LocalSocketLine discernLocalSocket(const std::string& bytes) {
  LocalSocketLine found;
  const std::string text = decoded(bytes, found.encoding);
  for (const std::string_view line : split(text, '\n')) {
    if (auto path = socketOf(line)) {
      found.path = std::move(path);
    }
  }
  return found;
}

}  // namespace quillo
