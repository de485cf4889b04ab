#include "tools/clamdscan/ClientLine.h"

#include <array>

namespace quillo::front {
namespace {

bool startsWith(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

bool endsWith(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

bool isAboutTheDaemon(std::string_view line) {
  constexpr std::array<std::string_view, 3> starts = {"ERROR: Could not connect to clamd",
                                                      "ERROR: Clamd closed the connection",
                                                      "ERROR: Communication error"};
  for (const std::string_view start : starts) {
    if (startsWith(line, start)) {
      return true;
    }
  }
  return false;
}

ClientLine verdict(std::string_view path, std::string_view rest) {
  constexpr std::string_view found = " FOUND";
  if (rest == "OK") {
    return {ClientLine::Kind::clean, path, rest};
  }
  if (endsWith(rest, found)) {
    return {ClientLine::Kind::infected, path, rest.substr(0, rest.size() - found.size())};
  }
  const bool noReply = rest == "no reply from clamd";
  return {noReply ? ClientLine::Kind::noReply : ClientLine::Kind::failed, path, rest};
}

// The path in a line of the form START PATH END.
std::string_view between(std::string_view line, std::string_view start, std::string_view end) {
  if (!startsWith(line, start) || !endsWith(line, end) || line.size() < start.size() + end.size()) {
    return {};
  }
  return line.substr(start.size(), line.size() - start.size() - end.size());
}

}  // namespace

ClientLine ClientLine::parse(std::string_view line, const Known& isKnown) {
  for (std::size_t colon = line.rfind(": "); colon != std::string_view::npos && colon > 0;
       colon = line.rfind(": ", colon - 1)) {
    if (isKnown(line.substr(0, colon))) {
      return verdict(line.substr(0, colon), line.substr(colon + 2));
    }
  }
  for (const std::string_view path : {between(line, "ERROR: Can't access file ", ""),
                                      between(line, "WARNING: ", ": Not supported file type")}) {
    if (!path.empty() && isKnown(path)) {
      return {Kind::inaccessible, path, {}};
    }
  }
  if (isAboutTheDaemon(line)) {
    return {Kind::noDaemon, {}, line};
  }
  return {Kind::other, {}, line};
}

}  // namespace quillo::front
