#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "platform/TomlText.h"
#include "posix/PlatformException.h"
#include "posix/Text.h"
#include "settings/TomlEditor.h"

namespace quillo {
namespace {

// The same numbers in every run.
class Numbers {
 public:
  explicit Numbers(std::uint32_t seed) : state_(seed) {}
  std::size_t below(std::size_t bound) {
    state_ = state_ * 1664525U + 1013904223U;
    return (state_ >> 16U) % bound;
  }

 private:
  std::uint32_t state_;
};

constexpr const char* ofRoot[] = {"a = 1\n",
                                  "'b c' = 'x' \n",
                                  "long = \"\"\"\n[[X]]\n\\\"\"\"\"\"\n",
                                  "d.e = [1,\n  [2], # in\n]\n",
                                  "\n",
                                  "# root comment\n",
                                  "\tf = { p = '}', q = [1] }\n"};
constexpr const char* lists[] = {
    "",
    "X = []\n",
    "X = [ {p='1', w=true}, {p='2'} ]\n",
    "X = [\n  {p=']', w=true}, # one\n  # own line\n  {p='2', w=false}\n]\n",
};
constexpr const char* ofTables[] = {
    "[t]\na = 2\n",           "# about u\n[u.'v w']\n", "\n",
    "[ \"y\" ] # y\nb = 1\n", "  # indented\n",         "[[z]]\na = 3\n[[z]]\n[z.deep]\n"};
constexpr const char* blocks[] = {"[[X]]\np = '1'\nw = true\n", "[[X]]\n# inside\np = '2' # here\n",
                                  "[[ X ]]\n[X.more]\nk = 1\n", "[['X']]\n"};

std::string madeOf(Numbers& numbers) {
  std::string text;
  const std::size_t skipped = numbers.below(std::size(ofRoot));
  for (std::size_t index = skipped; index < std::size(ofRoot); ++index) {
    text += ofRoot[index];
  }
  const std::string list = lists[numbers.below(std::size(lists))];
  text += list;
  for (const char* table : ofTables) {
    text += numbers.below(2) == 0 ? table : "";
    if (list.empty() && numbers.below(3) > 0) {
      text += blocks[numbers.below(std::size(blocks))];
    }
  }
  if (numbers.below(3) == 0) {
    text = replacingAll(text, "\n", "\r\n");
  }
  if (numbers.below(3) == 0 && !text.empty()) {
    text.pop_back();
    text += text.ends_with('\r') ? "\n" : "";
  }
  return numbers.below(4) == 0 ? "\xEF\xBB\xBF" + text : text;
}

// The comments that stand on lines of their own.
std::vector<std::string> commentsOf(const std::string& text) {
  std::vector<std::string> comments;
  for (const std::string_view line : split(text, '\n')) {
    const std::size_t at = line.find_first_not_of(" \t\xEF\xBB\xBF");
    if (at != std::string_view::npos && line[at] == '#') {
      comments.emplace_back(trimmed(line.substr(at)));
    }
  }
  return comments;
}

// A comment beside what goes may have got a line of its own.
bool hasInOrder(const std::vector<std::string>& all, const std::vector<std::string>& wanted) {
  std::size_t next = 0;
  for (const std::string& each : all) {
    next += next < wanted.size() && each == wanted[next] ? 1 : 0;
  }
  return next == wanted.size();
}

void change(TomlEditor& editor, Numbers& numbers) {
  const auto list = editor.values().find("X");
  const std::size_t count =
      list == editor.values().end() ? 0 : std::get<PreferenceArray>(list->second.value).size();
  const std::size_t entry = numbers.below(count + 1);
  switch (numbers.below(6)) {
    case 0:
      editor.set("a", {true});
      return;
    case 1:
      editor.set("new key", {std::string("\"#\n")});
      return;
    case 2:
      editor.remove("b c");
      return;
    case 3:
      editor.addEntry("X", {{"p", {std::string("n")}}, {"w", {true}}});
      return;
    case 4:
      if (entry < count) {
        editor.changeEntry("X", entry, {{"w", {false}}}, {"p"});
      }
      return;
    default:
      if (entry < count) {
        editor.removeEntry("X", entry);
      }
  }
}

TEST(TomlEditorMany, ChangesInAnyOrderAreMadeAndLeaveEveryCommentOfItsOwn) {
  int refused = 0;
  for (std::uint32_t seed = 1; seed <= 1500; ++seed) {
    Numbers numbers(seed);
    const std::string text = madeOf(numbers);
    ASSERT_FALSE(TomlText::parse(text).problem) << seed << "\n" << text;
    TomlEditor editor(text);
    for (int step = 0; step < 6; ++step) {
      const std::string before = editor.text();
      try {
        change(editor, numbers);
      } catch (const PlatformException& refusal) {
        ++refused;
        EXPECT_EQ(editor.text(), before);
        ADD_FAILURE() << seed << " " << step << " " << refusal.reason() << "\n" << before;
      }
      ASSERT_TRUE(hasInOrder(commentsOf(editor.text()), commentsOf(before)))
          << seed << " " << step << "\n"
          << before << "---\n"
          << editor.text();
      ASSERT_TRUE(sameValues(TomlText::parse(editor.text()).values, editor.values()));
    }
    if (refused > 3) {
      return;
    }
  }
}

}  // namespace
}  // namespace quillo
