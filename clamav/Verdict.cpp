#include "clamav/Verdict.h"

#include <algorithm>
#include <array>
#include <optional>

#include "posix/Text.h"

namespace quillo {
namespace {

constexpr std::string_view found = " FOUND";
constexpr std::string_view clean = ": OK";
constexpr std::string_view notScanned = ": Not scanned: ";
constexpr std::string_view notMoved = ": not moved: ";
constexpr std::string_view movedTo = ": moved to '";

// What the engine itself says of a file that it could not look at.
constexpr std::array<std::string_view, 2> enginesReasons = {"Failed to open file",
                                                            "no reply from clamd"};

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

}  // namespace

Verdict Verdict::parse(std::string_view line) {
  Verdict verdict;
  verdict.line = line;
  if (line.starts_with('/') && line.ends_with(clean)) {
    verdict.kind = Kind::clean;
    verdict.path = line.substr(0, line.size() - clean.size());
  } else if (!parseInfection(line, verdict) && !parseMove(line, verdict)) {
    parseFailure(line, verdict);
  }
  return verdict;
}

}  // namespace quillo
