#include "settings/TomlLines.h"

#include <algorithm>
#include <optional>

#include "posix/Text.h"

namespace quillo {
namespace {

constexpr const char* indentInBrackets = "  ";

std::optional<std::size_t> memberNamed(const std::vector<TomlMember>& members,
                                       const std::string& name) {
  const auto found = std::find_if(members.begin(), members.end(), [&](const TomlMember& member) {
    return member.name == std::vector<std::string>{name};
  });
  return found == members.end() ? std::nullopt
                                : std::optional<std::size_t>(found - members.begin());
}

}  // namespace

bool isBlank(std::string_view text) { return trimmed(text).empty(); }

std::size_t lineStart(const std::string& text, std::size_t at) {
  const std::size_t before = at == 0 ? std::string::npos : text.rfind('\n', at - 1);
  return before == std::string::npos ? 0 : before + 1;
}

std::string_view between(const std::string& text, std::size_t begin, std::size_t end) {
  return std::string_view(text).substr(begin, end - begin);
}

std::string indentAt(const std::string& text, std::size_t line) {
  const std::size_t end = std::min(text.find_first_not_of(" \t", line), text.size());
  return text.substr(line, end - line);
}

// The line end that closes the line of `at`, or the end of the text.
std::size_t endOfLine(const std::string& text, std::size_t at) {
  const std::size_t end = std::min(text.find('\n', at), text.size());
  return end > at && text[end - 1] == '\r' ? end - 1 : end;
}

void replaceSpan(std::string& text, TextSpan span, const std::string& with) {
  text.replace(span.begin, span.end - span.begin, with);
}

std::string withMemberAdded(std::string text, TextSpan array, const std::string& element,
                            const std::string& lineEnd) {
  const std::vector<TomlMember> members = tomlMembers(text, array);
  if (members.empty()) {
    const bool hasLines =
        between(text, array.begin, array.end).find('\n') != std::string_view::npos;
    text.insert(array.begin + 1,
                lineEnd + indentInBrackets + element + "," + (hasLines ? "" : lineEnd));
    return text;
  }
  const TomlMember& last = members.back();
  const std::size_t line = lineStart(text, last.whole.begin);
  const std::size_t comma = behindTomlSpace(text, last.whole.end);
  const bool hasComma = text[comma] == ',';
  const std::size_t behind = hasComma ? comma + 1 : last.whole.end;
  if (!isBlank(between(text, line, last.whole.begin))) {
    text.insert(behind, hasComma ? " " + element + "," : ", " + element);
    return text;
  }
  const std::string added = lineEnd + indentAt(text, line) + element + (hasComma ? "," : "");
  // Behind a comment on that line; but the bracket may be there as well.
  const std::size_t end = endOfLine(text, behind);
  text.insert(array.end - 1 < end ? behind : end, added);
  if (!hasComma) {
    text.insert(behind, ",");
  }
  return text;
}

void eraseTomlMember(std::string& text, const std::vector<TomlMember>& members, std::size_t index) {
  TextSpan span = members[index].whole;
  const std::size_t next = behindTomlSpace(text, span.end);
  if (text[next] != ',') {
    if (index > 0) {
      const std::size_t comma = behindTomlSpace(text, members[index - 1].whole.end);
      text.erase(comma, 1);
      --span.begin;
      --span.end;
      const std::string_view apart = between(text, comma, span.begin);
      span.begin = apart.find_first_not_of(" \t") == std::string_view::npos ? comma : span.begin;
    }
  } else if (between(text, span.end, next).find('\n') == std::string_view::npos) {
    span.end = next + 1;
  } else {
    text.erase(next, 1);
  }
  const std::size_t line = lineStart(text, span.begin);
  const std::size_t end = endOfLine(text, span.end);
  if (isBlank(between(text, line, span.begin)) && isBlank(between(text, span.end, end)) &&
      end < text.size()) {
    span = {line, text.find('\n', end) + 1};
  } else {
    span.end = std::min(text.find_first_not_of(" \t", span.end), text.size());
  }
  text.erase(span.begin, span.end - span.begin);
}

void changeTomlTable(std::string& text, TextSpan table, const TomlFields& fields,
                     const std::vector<std::string>& without) {
  const std::size_t behind = text.size() - table.end;
  const auto now = [&] { return TextSpan{table.begin, text.size() - behind}; };
  for (const auto& [key, value] : fields) {
    const std::vector<TomlMember> members = tomlMembers(text, now());
    if (const auto found = memberNamed(members, key)) {
      replaceSpan(text, members[*found].value, tomlValue(value));
    } else if (members.empty()) {
      replaceSpan(text, now(), spelledTomlTable({{key, value}}));
    } else {
      text.insert(members.back().whole.end, ", " + tomlKey(key) + " = " + tomlValue(value));
    }
  }
  for (const std::string& key : without) {
    const std::vector<TomlMember> members = tomlMembers(text, now());
    if (const auto found = memberNamed(members, key)) {
      eraseTomlMember(text, members, *found);
    }
  }
}

}  // namespace quillo
