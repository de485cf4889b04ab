#include "settings/TomlEditor.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "platform/TomlText.h"
#include "posix/PlatformException.h"
#include "posix/Text.h"
#include "settings/TomlLines.h"

namespace quillo {
namespace {

[[noreturn]] void refuse(const std::string& reason) {
  throw PlatformException(PlatformException::Kind::invalidArgument, "PreferenceEdit", reason);
}

void eraseSpans(std::string& text, std::vector<TextSpan> spans) {
  std::sort(spans.begin(), spans.end(),
            [](const TextSpan& one, const TextSpan& other) { return one.begin > other.begin; });
  for (const TextSpan& span : spans) {
    text.erase(span.begin, span.end - span.begin);
  }
}

}  // namespace

TomlEditor::TomlEditor(std::string text) : text_(std::move(text)) {
  TomlText parsed = TomlText::parse(text_);
  if (parsed.problem) {
    refuse("line " + std::to_string(parsed.problem->line) + ": " + parsed.problem->reason);
  }
  values_ = std::move(parsed.values);
  statements_ = tomlStatements(text_);
  const std::size_t first = text_.find('\n');
  const bool isCrLf = first != std::string::npos && first > 0 && text_[first - 1] == '\r';
  lineEnd_ = isCrLf ? "\r\n" : "\n";
}

void TomlEditor::take(std::string text, const PreferenceDictionary& expected) {
  TomlText parsed = TomlText::parse(text);
  if (parsed.problem || !sameValues(parsed.values, expected)) {
    refuse("it is written in a way that cannot be changed without changing something else");
  }
  text_ = std::move(text);
  values_ = std::move(parsed.values);
  statements_ = tomlStatements(text_);
}

const TomlStatement* TomlEditor::valueOf(const std::string& key) const {
  for (const TomlStatement& statement : statements_) {
    if (statement.kind != TomlStatement::Kind::key) {
      break;
    }
    if (statement.name == std::vector<std::string>{key}) {
      return &statement;
    }
  }
  return nullptr;
}

void TomlEditor::set(const std::string& key, const PreferenceValue& value) {
  std::string text = text_;
  const std::string spelled = tomlValue(value);
  if (const TomlStatement* statement = valueOf(key)) {
    replaceSpan(text, statement->value, spelled);
  } else {
    if (values_.count(key) > 0) {
      // A table with a header, or the like.
      TomlEditor edited = *this;
      edited.remove(key);
      edited.set(key, value);
      *this = std::move(edited);
      return;
    }
    insertAtRoot(text, tomlKey(key) + " = " + spelled);
  }
  PreferenceDictionary expected = values_;
  expected[key] = value;
  take(std::move(text), expected);
}

void TomlEditor::remove(const std::string& key) {
  std::vector<TextSpan> spans;
  bool isRoot = true;
  bool isOfKey = false;
  for (const TomlStatement& statement : statements_) {
    const bool isHeader = statement.kind != TomlStatement::Kind::key;
    isRoot = isRoot && !isHeader;
    if (isHeader || isRoot) {
      isOfKey = statement.name.front() == key;
    }
    if (isOfKey) {
      spans.push_back(statement.lines);
    }
  }
  std::string text = text_;
  eraseSpans(text, std::move(spans));
  PreferenceDictionary expected = values_;
  expected.erase(key);
  take(std::move(text), expected);
}

void TomlEditor::insertAtRoot(std::string& text, const std::string& line) const {
  const auto header =
      std::find_if(statements_.begin(), statements_.end(),
                   [](const TomlStatement& each) { return each.kind != TomlStatement::Kind::key; });
  std::size_t at = text.size();
  std::string behind = lineEnd_;
  if (header != statements_.begin()) {
    at = (header - 1)->lines.end;
  } else if (header != statements_.end()) {
    // Above the comment that speaks of the table.
    at = header->lines.begin;
    for (std::size_t above = at; above > 0;) {
      above = lineStart(text, above - 1);
      if (!trimmed(between(text, above, at)).starts_with('#')) {
        break;
      }
      at = above;
    }
    at = at == 0 ? std::min(text.find_first_not_of("\xEF\xBB\xBF"), text.size()) : at;
    behind += lineEnd_;
  }
  const bool endsWithin =
      at > 0 && at == text.size() && text.back() != '\n' && !(statements_.empty() && isBlank(text));
  text.insert(at, (endsWithin ? lineEnd_ : "") + line + behind);
}

std::vector<TomlEditor::Block> TomlEditor::blocksOf(const std::string& list) const {
  std::vector<Block> blocks;
  bool isWithin = false;
  for (std::size_t index = 0; index < statements_.size(); ++index) {
    const TomlStatement& statement = statements_[index];
    const bool isHeader = statement.kind != TomlStatement::Kind::key;
    if (statement.kind == TomlStatement::Kind::entryOfArray &&
        statement.name == std::vector<std::string>{list}) {
      blocks.push_back({index, {}});
      isWithin = true;
      continue;
    }
    if (isHeader) {
      isWithin = !blocks.empty() && statement.name.front() == list;
    }
    if (isWithin) {
      blocks.back().rest.push_back(index);
    }
  }
  return blocks;
}

PreferenceArray TomlEditor::entriesOf(const std::string& list) const {
  const auto found = values_.find(list);
  if (found == values_.end()) {
    return {};
  }
  const auto* entries = std::get_if<PreferenceArray>(&found->second.value);
  if (!entries) {
    refuse(list + " is not a list");
  }
  return *entries;
}

void TomlEditor::addEntry(const std::string& list, const TomlFields& entry) {
  PreferenceDictionary expected = values_;
  PreferenceArray entries = entriesOf(list);
  PreferenceDictionary added;
  for (const auto& [key, value] : entry) {
    added[key] = value;
  }
  entries.push_back({std::move(added)});
  expected[list] = {std::move(entries)};
  if (const TomlStatement* array = valueOf(list)) {
    take(withMemberAdded(text_, array->value, spelledTomlTable(entry), lineEnd_), expected);
    return;
  }
  std::string lines = lineEnd_ + "[[" + tomlKey(list) + "]]" + lineEnd_;
  for (const auto& [key, value] : entry) {
    lines += tomlKey(key) + " = " + tomlValue(value) + lineEnd_;
  }
  std::string text = text_;
  std::size_t at = text.size();
  const std::vector<Block> blocks = blocksOf(list);
  if (!blocks.empty()) {
    const Block& last = blocks.back();
    at = statements_[last.rest.empty() ? last.header : last.rest.back()].lines.end;
  }
  if (at > 0 && text[at - 1] != '\n') {
    lines = lineEnd_ + lines;
  } else if (isBlank(between(text, 0, at))) {
    lines.erase(0, lineEnd_.size());
  }
  text.insert(at, lines);
  take(std::move(text), expected);
}

TomlMember TomlEditor::memberOf(const std::string& list, std::size_t index) const {
  const TomlStatement* array = valueOf(list);
  const std::vector<TomlMember> members =
      array ? tomlMembers(text_, array->value) : std::vector<TomlMember>();
  if (index >= members.size()) {
    refuse(list + " is written in a way that cannot be changed");
  }
  return members[index];
}

void TomlEditor::changeEntry(const std::string& list, std::size_t index, const TomlFields& fields,
                             const std::vector<std::string>& without) {
  PreferenceDictionary expected = values_;
  PreferenceArray entries = entriesOf(list);
  auto* entry =
      index < entries.size() ? std::get_if<PreferenceDictionary>(&entries[index].value) : nullptr;
  if (!entry) {
    refuse("there is no such entry of " + list);
  }
  for (const auto& [key, value] : fields) {
    (*entry)[key] = value;
  }
  for (const std::string& key : without) {
    entry->erase(key);
  }
  expected[list] = {std::move(entries)};
  std::string text = text_;
  const std::vector<Block> blocks = blocksOf(list);
  if (index < blocks.size()) {
    changeBlock(text, blocks[index], fields, without);
  } else {
    changeTomlTable(text, memberOf(list, index).value, fields, without);
  }
  take(std::move(text), expected);
}

void TomlEditor::changeBlock(std::string& text, const Block& block, const TomlFields& fields,
                             const std::vector<std::string>& without) const {
  // From its end, so that the places before stay what they are.
  std::vector<std::pair<TextSpan, std::string>> changes;
  std::size_t last = block.header;
  for (const std::size_t index : block.rest) {
    if (statements_[index].kind != TomlStatement::Kind::key) {
      break;
    }
    last = index;
  }
  const TextSpan place = statements_[last].lines;
  const auto begin = statements_.begin() + static_cast<std::ptrdiff_t>(block.header) + 1;
  const auto end = statements_.begin() + static_cast<std::ptrdiff_t>(last) + 1;
  std::string added;
  for (const auto& field : fields) {
    const auto found = std::find_if(begin, end, [&](const TomlStatement& each) {
      return each.name == std::vector<std::string>{field.key};
    });
    if (found != end) {
      changes.emplace_back(found->value, tomlValue(field.value));
    } else {
      added += indentAt(text, place.begin) + tomlKey(field.key) + " = " + tomlValue(field.value) +
               lineEnd_;
    }
  }
  if (!added.empty() && text[place.end - 1] != '\n') {
    added = lineEnd_ + added;
  }
  changes.emplace_back(TextSpan{place.end, place.end}, added);
  for (std::size_t index = block.header + 1; index <= last; ++index) {
    if (std::find(without.begin(), without.end(), statements_[index].name.front()) !=
        without.end()) {
      changes.emplace_back(statements_[index].lines, "");
    }
  }
  std::sort(changes.begin(), changes.end(),
            [](const auto& one, const auto& other) { return one.first.begin > other.first.begin; });
  for (const auto& [span, with] : changes) {
    replaceSpan(text, span, with);
  }
}

std::vector<TextSpan> TomlEditor::linesOf(const Block& block) const {
  std::vector<TextSpan> spans = {statements_[block.header].lines};
  for (const std::size_t index : block.rest) {
    spans.push_back(statements_[index].lines);
  }
  // What set it apart from the lines above, if it is apart from those below as well.
  const std::size_t end = spans.back().end;
  const bool isApart = end == text_.size() || isBlank(between(text_, end, endOfLine(text_, end)));
  for (std::size_t line = spans.front().begin; isApart && line > 0;) {
    line = lineStart(text_, line - 1);
    if (!isBlank(between(text_, line, spans.front().begin))) {
      break;
    }
    spans.front().begin = line;
  }
  return spans;
}

void TomlEditor::removeEntry(const std::string& list, std::size_t index) {
  PreferenceDictionary expected = values_;
  PreferenceArray entries = entriesOf(list);
  if (index >= entries.size()) {
    refuse("there is no such entry of " + list);
  }
  entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(index));
  const bool isLast = entries.empty();
  expected[list] = {std::move(entries)};
  const std::vector<Block> blocks = blocksOf(list);
  std::string text = text_;
  if (index < blocks.size()) {
    if (isLast) {
      set(list, {PreferenceArray()});
      return;
    }
    eraseSpans(text, linesOf(blocks[index]));
  } else {
    static_cast<void>(memberOf(list, index));
    eraseTomlMember(text, tomlMembers(text, valueOf(list)->value), index);
  }
  take(std::move(text), expected);
}

}  // namespace quillo
