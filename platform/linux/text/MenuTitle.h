#pragma once

#include <QString>
#include <string>

namespace quillo {

// Who draws a menu: Qt itself, or a panel that has it over D-Bus and takes "_" for the mark of an
// access key (com.canonical.dbusmenu, property "label").
enum class MenuHost { qt, panel };

// A menu item's title out of a text with an access key, "&Quit". The title proper has no mark in
// it;
// "&&" is an "&".
class MenuTitle {
 public:
  static MenuTitle withAccessKey(const std::string& markedText);
  static MenuTitle plain(const std::string& text);

  const std::string& text() const { return text_; }
  // What QAction::setText() is to be given; a long title is cut in the middle.
  QString forHost(MenuHost host) const;

 private:
  std::string text_;
  // Offset in text_ of the access key's character; npos for none.
  std::size_t accessKey_ = std::string::npos;
};

}  // namespace quillo
