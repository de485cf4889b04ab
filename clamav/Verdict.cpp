#include "clamav/Verdict.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>

#include "posix/HiddenText.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr std::string_view found = " FOUND";
constexpr std::string_view clean = ": OK";
constexpr std::string_view notScanned = ": Not scanned: ";
constexpr std::string_view notMoved = ": not moved: ";
constexpr std::string_view movedTo = ": moved to '";

constexpr std::string_view noReply = "no reply from clamd";
// What the engine itself says of a file that it could not look at.
constexpr std::array<std::string_view, 2> enginesReasons = {"Failed to open file", noReply};
// How it says that the daemon is not there, in the words of older and of current engines.
constexpr std::array<std::string_view, 3> daemonIsGone = {
    "WARNING: Can't connect to clamd.", "ERROR: Could not connect to clamd on ",
    "ERROR: Clamd closed the connection before scanning all files."};

struct Halves {
  std::string_view path;
  std::string_view rest;
};

std::optional<Halves> cutAtLast(std::string_view line, std::string_view mark) {
  const std::size_t at = line.rfind(mark);
  if (at == std::string_view::npos) {
    return std::nullopt;
  }
  return Halves{line.substr(0, at), line.substr(at + mark.size())};
}

std::optional<Halves> between(std::string_view line, std::string_view start, std::string_view end) {
  if (!line.starts_with(start) || !line.ends_with(end) || line.size() < start.size() + end.size()) {
    return std::nullopt;
  }
  return Halves{line.substr(start.size(), line.size() - start.size() - end.size()), {}};
}

bool parseInfection(std::string_view line, Verdict& verdict) {
  if (!line.ends_with(found)) {
    return false;
  }
  const int colon = lastColon(line);
  if (colon < 0) {
    return false;
  }
  verdict.kind = Verdict::Kind::infected;
  verdict.path = line.substr(0, static_cast<std::size_t>(colon));
  const std::string_view threat = line.substr(static_cast<std::size_t>(colon) + 1);
  verdict.threat = trimmed(threat.substr(0, threat.size() - std::min(threat.size(), found.size())));
  return true;
}

bool parseMove(std::string_view line, Verdict& verdict) {
  if (const auto moved = cutAtLast(line, movedTo); moved && moved->rest.ends_with('\'')) {
    verdict.kind = Verdict::Kind::moved;
    verdict.path = moved->path;
    verdict.destination = moved->rest.substr(0, moved->rest.size() - 1);
    return true;
  }
  if (const auto stayed = cutAtLast(line, notMoved)) {
    verdict.kind = Verdict::Kind::notMoved;
    verdict.path = stayed->path;
    verdict.reason = stayed->rest;
    return true;
  }
  return false;
}

bool parseFailure(std::string_view line, Verdict& verdict) {
  std::optional<Halves> left = cutAtLast(line, notScanned);
  for (const std::string_view reason : enginesReasons) {
    if (!left && line.ends_with(": " + std::string(reason))) {
      left = Halves{line.substr(0, line.size() - reason.size() - 2), reason};
      verdict.daemonGone =
          reason == noReply ? Verdict::DaemonGone::meanwhile : Verdict::DaemonGone::no;
    }
  }
  if (!left) {
    left = between(line, "ERROR: Can't access file ", "");
  }
  if (!left) {
    left = between(line, "WARNING: ", ": Not supported file type");
  }
  if (!left) {
    return false;
  }
  verdict.kind = Verdict::Kind::notScanned;
  verdict.path = left->path;
  verdict.reason = left->rest.empty() ? "it cannot be reached or is no file" : left->rest;
  return true;
}

constexpr std::string_view digits = "0123456789ABCDEF";
constexpr std::size_t escapeLength = 4;

// The byte that an escape at the start of `text` stands for.
std::optional<char> escapedByte(std::string_view text) {
  if (text.size() < escapeLength || text[0] != '\\' || text[1] != 'x') {
    return std::nullopt;
  }
  const std::size_t high = digits.find(text[2]);
  const std::size_t low = digits.find(text[3]);
  if (high == std::string_view::npos || low == std::string_view::npos) {
    return std::nullopt;
  }
  return static_cast<char>(high * digits.size() + low);
}

std::size_t plainLength(std::string_view text) {
  const std::size_t length = utf8SequenceLength(text);
  return length == 0 || hides(codePointOf(text.substr(0, length))) || escapedByte(text) ? 0
                                                                                        : length;
}

}  // namespace

Verdict Verdict::parse(std::string_view line) {
  Verdict verdict;
  verdict.line = line;
  if (line.starts_with('/') && line.ends_with(clean)) {
    verdict.kind = Kind::clean;
    verdict.path = line.substr(0, line.size() - clean.size());
  } else if (!parseInfection(line, verdict) && !parseMove(line, verdict)) {
    const bool isFailure = parseFailure(line, verdict);
    if (!isFailure && std::any_of(daemonIsGone.begin(), daemonIsGone.end(),
                                  [line](auto start) { return line.starts_with(start); })) {
      verdict.daemonGone = DaemonGone::before;
    }
  }
  return verdict;
}

std::string reportedText(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size());
  while (!bytes.empty()) {
    const std::size_t length = plainLength(bytes);
    if (length > 0) {
      text.append(bytes.substr(0, length));
      bytes.remove_prefix(length);
      continue;
    }
    const auto value = static_cast<unsigned char>(bytes[0]);
    text += "\\x";
    text += digits[value >> 4U];
    text += digits[value & 0xFU];
    bytes.remove_prefix(1);
  }
  return text;
}

std::string bytesOfReported(std::string_view text) {
  std::string bytes;
  bytes.reserve(text.size());
  while (!text.empty()) {
    const std::optional<char> byte = escapedByte(text);
    bytes += byte.value_or(text[0]);
    text.remove_prefix(byte ? escapeLength : 1);
  }
  return bytes;
}

}  // namespace quillo
