#include "settings/TomlStatements.h"

#include <algorithm>
#include <string_view>

#include "platform/TomlText.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

bool isAt(const std::string& text, std::size_t at, std::string_view what) {
  return text.compare(at, what.size(), what) == 0;
}

std::size_t lineEnd(const std::string& text, std::size_t at) {
  return std::min(text.find('\n', at), text.size());
}

std::size_t behindLine(const std::string& text, std::size_t at) {
  return std::min(lineEnd(text, at) + 1, text.size());
}

std::size_t behindBlanks(const std::string& text, std::size_t at) {
  return std::min(text.find_first_not_of(" \t", at), text.size());
}

// `at` is the opening quote.
std::size_t behindString(const std::string& text, std::size_t at) {
  const char quote = text[at];
  const std::string three(3, quote);
  const bool isLong = isAt(text, at, three);
  for (at += isLong ? 3 : 1; at < text.size(); ++at) {
    if (text[at] == '\\' && quote == '"') {
      ++at;
    } else if (!isLong && text[at] == quote) {
      return at + 1;
    } else if (isLong && isAt(text, at, three)) {
      // Two more quotes may belong to the string.
      return std::min(std::max(text.find_first_not_of(quote, at), at + 3), text.size());
    }
  }
  return text.size();
}

// `at` is the opening bracket.
std::size_t behindBrackets(const std::string& text, std::size_t at) {
  for (std::size_t depth = 0; at < text.size();) {
    const char c = text[at];
    if (c == '"' || c == '\'') {
      at = behindString(text, at);
      continue;
    }
    if (c == '#') {
      at = lineEnd(text, at);
      continue;
    }
    depth += c == '[' || c == '{' ? 1 : 0;
    depth -= c == ']' || c == '}' ? 1 : 0;
    ++at;
    if (depth == 0) {
      break;
    }
  }
  return at;
}

std::size_t behindValue(const std::string& text, std::size_t at) {
  switch (at < text.size() ? text[at] : '\0') {
    case '"':
    case '\'':
      return behindString(text, at);
    case '[':
    case '{':
      return behindBrackets(text, at);
    default:
      break;
  }
  std::size_t end = std::min(text.find_first_of(",]}#\r\n", at), text.size());
  while (end > at && (text[end - 1] == ' ' || text[end - 1] == '\t')) {
    --end;
  }
  return end;
}

// The place of the "=" or "]" behind a key.
std::size_t behindKey(const std::string& text, std::size_t at) {
  while (at < text.size() && text[at] != '=' && text[at] != ']') {
    at = text[at] == '"' || text[at] == '\'' ? behindString(text, at) : at + 1;
  }
  return at;
}

std::string plainPart(const std::string& part) {
  if (part.size() < 2 || (part.front() != '"' && part.front() != '\'')) {
    return part;
  }
  if (part.front() == '"' && part.find('\\') != std::string::npos) {
    const TomlText read = TomlText::parse("k = " + part);
    const auto found = read.values.find("k");
    const auto* plain =
        found == read.values.end() ? nullptr : std::get_if<std::string>(&found->second.value);
    return plain ? *plain : part;
  }
  return part.substr(1, part.size() - 2);
}

std::vector<std::string> keyParts(const std::string& text, std::size_t at, std::size_t end) {
  std::vector<std::string> parts;
  for (std::size_t begin = at; at <= end;) {
    if (at == end || text[at] == '.') {
      parts.push_back(plainPart(std::string(trimmed({text.data() + begin, at - begin}))));
      begin = ++at;
    } else {
      at = text[at] == '"' || text[at] == '\'' ? behindString(text, at) : at + 1;
    }
  }
  return parts;
}

TomlStatement header(const std::string& text, std::size_t at) {
  TomlStatement statement;
  const bool isEntry = isAt(text, at, "[[");
  statement.kind = isEntry ? TomlStatement::Kind::entryOfArray : TomlStatement::Kind::table;
  const std::size_t begin = at + (isEntry ? 2 : 1);
  const std::size_t end = behindKey(text, begin);
  statement.name = keyParts(text, begin, end);
  statement.lines.end = behindLine(text, end);
  return statement;
}

TomlStatement keyAndValue(const std::string& text, std::size_t at) {
  TomlStatement statement;
  const std::size_t equals = behindKey(text, at);
  statement.name = keyParts(text, at, equals);
  statement.value.begin = behindBlanks(text, std::min(equals + 1, text.size()));
  statement.value.end = behindValue(text, statement.value.begin);
  statement.lines.end = behindLine(text, statement.value.end);
  return statement;
}

}  // namespace

std::size_t behindTomlSpace(const std::string& text, std::size_t at) {
  while (at < text.size()) {
    at = std::min(text.find_first_not_of(" \t\r\n", at), text.size());
    if (at == text.size() || text[at] != '#') {
      break;
    }
    at = lineEnd(text, at);
  }
  return at;
}

std::vector<TomlStatement> tomlStatements(const std::string& text) {
  std::vector<TomlStatement> statements;
  const std::size_t start = isAt(text, 0, byteOrderMark) ? byteOrderMark.size() : 0;
  for (std::size_t line = start; line < text.size();) {
    const std::size_t at = behindBlanks(text, line);
    if (at == text.size() || text[at] == '#' || text[at] == '\r' || text[at] == '\n') {
      line = behindLine(text, at);
      continue;
    }
    statements.push_back(text[at] == '[' ? header(text, at) : keyAndValue(text, at));
    statements.back().lines.begin = line;
    line = statements.back().lines.end;
  }
  return statements;
}

std::vector<TomlMember> tomlMembers(const std::string& text, TextSpan value) {
  std::vector<TomlMember> members;
  const bool isTable = text[value.begin] == '{';
  std::size_t at = behindTomlSpace(text, value.begin + 1);
  while (at + 1 < value.end) {
    TomlMember member;
    member.whole.begin = member.value.begin = at;
    if (isTable) {
      const std::size_t equals = behindKey(text, at);
      member.name = keyParts(text, at, equals);
      member.value.begin = behindBlanks(text, equals + 1);
    }
    member.whole.end = member.value.end = behindValue(text, member.value.begin);
    at = behindTomlSpace(text, member.whole.end);
    at = at < value.end && text[at] == ',' ? behindTomlSpace(text, at + 1) : at;
    if (member.whole.end <= member.whole.begin) {
      break;  // no TOML after all
    }
    members.push_back(std::move(member));
  }
  return members;
}

}  // namespace quillo
