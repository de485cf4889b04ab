#pragma once

#include <cstddef>
#include <string>

// What the windows of this process show, by the names of their widgets. Main thread.
namespace quillo {

// The middle of the widget, in pixels of the screen: "at X Y", or "nowhere".
std::string where(const std::string& objectName);
std::string textOf(const std::string& objectName);
// The rows of a list, with ";" between them and "," between their columns.
std::string rowsOf(const std::string& objectName);
// The items of the menu that is open for a widget, with ";" between them; "" for no menu.
std::string itemsOfPopup();
// Where the window of the widget is with its frame, in pixels of the screen: "X Y WIDTH HEIGHT".
std::string areaOf(const std::string& objectName);
// The name of the widget that the keys go to.
std::string focused();
// How many dialogs with a message are on the screen.
std::ptrdiff_t shownDialogs();

}  // namespace quillo
