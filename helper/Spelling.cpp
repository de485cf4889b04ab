#include "helper/Spelling.h"

#include <algorithm>

namespace quillo::helper {
namespace {

using std::string_view;

constexpr string_view fork = "/..namedfork/";
constexpr string_view escapedBreak = "\\x0A";
constexpr string_view escapedBackslash = "\\x5C";

bool looksLikeFork(string_view folder, string_view name) {
  return name == "rsrc" && folder.size() >= fork.size() &&
         folder.substr(folder.size() - fork.size()) == fork;
}

// A file name's insertion; empty as a rule.
string_view between(string_view folder, string_view name) {
  return looksLikeFork(folder, name) ? "./" : "";
}

bool isPlain(string_view folder, string_view name) {
  return folder.find('\n') == string_view::npos && name.find('\n') == string_view::npos;
}

void appendEscaped(std::string& line, string_view text) {
  for (const char byte : text) {
    if (byte == '\n') {
      line += escapedBreak;
    } else if (byte == '\\') {
      line += escapedBackslash;
    } else {
      line += byte;
    }
  }
}

size_t escapedLength(string_view text) {
  const auto escapes = std::count_if(text.begin(), text.end(),
                                     [](char byte) { return byte == '\n' || byte == '\\'; });
  return text.size() + static_cast<size_t>(escapes) * (escapedBreak.size() - 1);
}

}  // namespace

void appendSpelled(std::string& line, string_view folder, string_view name) {
  if (isPlain(folder, name)) {
    line.append(folder).append(between(folder, name)).append(name);
    return;
  }
  line += '\\';
  appendEscaped(line, folder);
  line += between(folder, name);
  appendEscaped(line, name);
}

size_t spelledLength(string_view folder, string_view name) {
  const size_t inserted = between(folder, name).size();
  if (isPlain(folder, name)) return folder.size() + inserted + name.size();
  return 1 + escapedLength(folder) + inserted + escapedLength(name);
}

}  // namespace quillo::helper
